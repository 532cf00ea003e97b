// PNG pictures: decoded row by row, nothing kept.
#include <png.h>

#include <algorithm>
#include <csetjmp>
#include <cstring>
#include <vector>

#include "content/picture.h"

namespace sdkkit {
namespace {

constexpr png_uint_32 kMostSide = 16384;
constexpr png_alloc_size_t kMostChunkBytes = png_alloc_size_t{8} << 20;

// What one decoding needs. No object with a destructor may come to life behind the jump's mark.
class PngDecoder {
 public:
  explicit PngDecoder(std::string_view bytes)
      : bytes_(bytes), png_(png_create_read_struct(PNG_LIBPNG_VER_STRING, this, Fail, Ignore)) {
    if (png_ != nullptr) info_ = png_create_info_struct(png_);
  }
  ~PngDecoder() { png_destroy_read_struct(&png_, &info_, nullptr); }
  PngDecoder(const PngDecoder&) = delete;
  PngDecoder& operator=(const PngDecoder&) = delete;

  std::string Fault() {
    if (info_ == nullptr) return "memory is short";
    const bool whole = ReadHead();
    if (!fault_.empty()) return fault_;
    fault_ = whole ? SizeFault(png_get_image_width(png_, info_), png_get_image_height(png_, info_)) : "";
    if (!fault_.empty()) return fault_;
    row_.resize(png_get_rowbytes(png_, info_));
    ReadRows();
    return fault_;
  }

 private:
  static void Read(png_structp png, png_bytep to, std::size_t length) {
    auto* const self = static_cast<PngDecoder*>(png_get_io_ptr(png));
    if (length > self->bytes_.size()) png_error(png, "it ends too early");
    std::memcpy(to, self->bytes_.data(), length);
    self->bytes_.remove_prefix(length);
  }

  [[noreturn]] static void Fail(png_structp png, png_const_charp reason) {
    auto* const self = static_cast<PngDecoder*>(png_get_error_ptr(png));
    std::strncpy(self->reason_, reason, sizeof self->reason_ - 1);
    png_longjmp(png, 1);
  }

  static void Ignore(png_structp /*png*/, png_const_charp /*warning*/) {}

  bool ReadHead() {
    if (setjmp(png_jmpbuf(png_)) != 0) return Failed();
    png_set_user_limits(png_, kMostSide, kMostSide);
    png_set_chunk_malloc_max(png_, kMostChunkBytes);
    png_set_read_fn(png_, this, Read);
    png_read_info(png_, info_);
    passes_ = png_set_interlace_handling(png_);
    png_read_update_info(png_, info_);
    return true;
  }

  bool ReadRows() {
    if (setjmp(png_jmpbuf(png_)) != 0) return Failed();
    for (int pass = 0; pass < passes_; ++pass) {
      for (png_uint_32 row = 0; row < png_get_image_height(png_, info_); ++row) {
        png_read_row(png_, row_.data(), nullptr);
      }
    }
    png_read_end(png_, nullptr);
    return true;
  }

  bool Failed() {
    fault_ = std::string("it is no whole PNG picture: ") + reason_;
    return false;
  }

  std::string_view bytes_;
  png_structp png_;
  png_infop info_ = nullptr;
  int passes_ = 1;
  char reason_[128] = "";
  std::vector<png_byte> row_;
  std::string fault_;
};

}  // namespace

std::string PngFault(std::string_view bytes) { return PngDecoder(bytes).Fault(); }

}  // namespace sdkkit
