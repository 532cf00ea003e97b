// What the server and the process tell of themselves.
#pragma once

#include "metrics/exposition.h"

namespace sdkkit {

void AddServerMetrics(Exposition& text);
void AddProcessMetrics(Exposition& text);

}  // namespace sdkkit
