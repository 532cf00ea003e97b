// The device's certificates: what they say, and those that it makes itself.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace sim {

// {"inUse","waiting","ieee8021x","choice","why"}: the certificates are null where there is none.
nlohmann::json Certificates();

// Each takes {"commonName"?,"names"?,"days"?} and gives an empty text, or why it cannot.
std::string MakeCertificate(const nlohmann::json& wanted);
std::string RequestCertificate(const nlohmann::json& wanted, std::string& pem);

// Takes back what waits for the next start.
std::string DiscardCertificate();

}  // namespace sim
