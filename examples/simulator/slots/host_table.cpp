// The table that the device hands to the library: which function serves which slot.
#include "slots/host_table.h"

#include "slots/accounts.h"
#include "slots/device_info.h"
#include "slots/downloads.h"
#include "slots/firmware.h"
#include "slots/live.h"
#include "slots/previews.h"
#include "slots/privileges.h"
#include "slots/settings.h"
#include "slots/uploads.h"

namespace sim {

SdkAPISerHandle HostTable() {
  SdkAPISerHandle table{};
  FillAccounts(table);
  FillDeviceInfo(table);
  FillPrivileges(table);
  FillUploads(table);
  FillDownloads(table);
  FillSettings(table);
  FillFirmware(table);
  FillPreviews(table);
  FillLive(table);
  GuardSlots(table);  // the last: it stands before all of them
  return table;
}

}  // namespace sim
