// The life cycle of the media half.
#include "media.h"

#include "downloads.h"
#include "files.h"
#include "preview.h"
#include "upload_slots.h"

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
