// The life cycle of the media half.
#include "slots/media.h"

#include "media/preview.h"
#include "slots/downloads.h"
#include "slots/upload_slots.h"
#include "store/files.h"

namespace sim {

void StartMedia() {
  PrepareFolders();
  PrepareBuiltInLogo();
  StartUploads();
  StartPreviews();
}

void StopMedia() {
  StopPreviews();
  StopUploads();
}

}  // namespace sim
