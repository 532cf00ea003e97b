// The table that the device hands to the library: which function serves which slot.
#include "slots/host_table.h"

#include <sdkapi/kit_accounts.h>

#include "media/preview.h"
#include "model/device.h"
#include "model/firmware.h"
#include "model/settings_archive.h"
#include "model/units.h"
#include "slots/live.h"
#include "slots/media.h"
#include "slots/upload_slots.h"

namespace sim {

SdkAPISerHandle HostTable() {
  SdkAPISerHandle table{};
  SdkKitAccounts_Fill(&table);
  table.DeviceInfoCb = FillDeviceInfo;
  table.DeviceStatusCb = WriteUptime;
  table.DownloadLogFileCb = DownloadLog;
  table.DownloadCustomCb = DownloadCustomFile;
  table.GetTxRxListCb = WriteUnitList;
  table.GetPrivJsonCb = PrivilegeList;
  table.SpecifyPrivCb = BindPrivilege;
  table.DeletePrivCb = DeletePrivilege;
  FillUploadSlots(table);
  FillLive(table);
  FillPreviews(table);
  FillSettings(&table);
  FillFirmware(&table);
  SdkKitAccounts_Guard(&table);  // the last: it stands before all of them
  return table;
}

}  // namespace sim
