// The bus: what the device tells its WebSocket clients.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>

namespace sim {

// Queues an event for all clients; from any thread, also under a lock.
void Publish(const nlohmann::json& event);

// Sends an event to all clients at once: for one after which their logins end.
void PublishNow(const nlohmann::json& event);

// Queues a message for one client.
void AnswerTo(uint64_t client, const nlohmann::json& message);

// The number of clients.
int CountClients();

}  // namespace sim
