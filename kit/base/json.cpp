// JSON from outside: its length and depth are judged before a tree is built.
#include "base/json.h"

namespace sdkkit {
namespace {

using nlohmann::json;

// Walks over a text without keeping anything of it.
class DepthCheck final : public nlohmann::json_sax<json> {
 public:
  explicit DepthCheck(std::size_t most) : most_(most) {}

  bool null() override { return true; }
  bool boolean(bool) override { return true; }
  bool number_integer(number_integer_t) override { return true; }
  bool number_unsigned(number_unsigned_t) override { return true; }
  bool number_float(number_float_t, const string_t&) override { return true; }
  bool string(string_t&) override { return true; }
  bool binary(binary_t&) override { return true; }
  bool start_object(std::size_t) override { return Enter(); }
  bool key(string_t&) override { return true; }
  bool end_object() override { return Leave(); }
  bool start_array(std::size_t) override { return Enter(); }
  bool end_array() override { return Leave(); }
  bool parse_error(std::size_t position, const std::string&, const json::exception&) override {
    fault_ = "no JSON at byte " + std::to_string(position);
    return false;
  }

  const std::string& fault() const { return fault_; }

 private:
  bool Enter() {
    if (++depth_ <= most_) return true;
    fault_ = "more than " + std::to_string(most_) + " levels deep";
    return false;
  }
  bool Leave() {
    --depth_;
    return true;
  }

  std::size_t most_;
  std::size_t depth_ = 0;
  std::string fault_;
};

}  // namespace

std::string JsonFault(std::string_view text, const JsonBounds& bounds) {
  if (text.size() > bounds.bytes) return "more than " + std::to_string(bounds.bytes) + " bytes";
  DepthCheck check(bounds.depth);
  return json::sax_parse(text, &check) ? "" : check.fault();
}

bool IsUtf8(const std::string& text) {
  try {
    static_cast<void>(json(text).dump());  // strict about UTF-8
    return true;
  } catch (const json::type_error&) {
    return false;
  }
}

std::optional<json> ParseJson(std::string_view text, const JsonBounds& bounds, std::string* why) {
  std::string fault = JsonFault(text, bounds);
  if (fault.empty()) return json::parse(text, nullptr, false);
  if (why != nullptr) *why = std::move(fault);
  return std::nullopt;
}

}  // namespace sdkkit
