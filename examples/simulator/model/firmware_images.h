// The firmware's two images, and build.config, which says which one starts.
#pragma once

#include <string>

namespace sim {

// Makes build.config on the first start.
void StartFirmwareImages();

// Writes the image that does not run. False when the storage does not let it.
bool OpenImage();
bool WriteImage(const char* bytes, size_t length);
// Brings a good one to the disk.
bool CloseImage(bool isGood);

// The next start takes the image that does not run; before: the version that runs until then.
bool SelectOtherImage(const std::string& version, const std::string& before);
// The next start takes what ran before.
bool SelectImageBefore();

// The slot of the image that starts next, and the version that ran before it, or an empty text.
struct ImageChoice {
  int slot;
  std::string before;
};
ImageChoice ChosenImage();

// Does the running image work? One that begins with "does not start" plays one that does not.
bool ImageWorks();

}  // namespace sim
