// The device's events and its WebSocket clients.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace sim {

// Starts and ends the thread that sends. Host functions only queue: they never wait for a slow client.
void StartEvents();
void StopEvents();

// Queues an event for all clients.
void Publish(const nlohmann::json& event);

// Queues a message for a token's connection. The library reaches a token's oldest connection only: where
// several connections share a token, all clients get the message.
void SendTo(const std::string& token, const nlohmann::json& message);

// The number of open WebSocket connections.
int CountClients();

// The `status` event as it is now.
nlohmann::json StatusEvent();

// Slot of the host table.
int OnWebSocket(int event, const char* token, const char* data, int length);

}  // namespace sim
