// The names that a made certificate and a signing request have.
#pragma once

#include <string>
#include <string_view>

#include "certificate/owned.h"

namespace sdkkit {

struct Subject {
  std::string commonName;
  std::string alternativeNames;  // with commas; "DNS:" or "IP:" before each may be missing
};

// Why these names cannot be used; empty when they can.
std::string NamesFault(const Subject& subject);

// The extension of the alternative names, which have no fault.
ExtensionPtr AlternativeNames(const Subject& subject);

}  // namespace sdkkit
