// The table that the device hands to the library: which function serves which slot.
#include "host_table.h"

#include <sdkapi/kit_accounts.h>

#include "device.h"
#include "firmware.h"
#include "live.h"
#include "media.h"
#include "preview.h"
#include "settings_archive.h"
#include "units.h"
#include "upload_slots.h"

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
