// The text format of metrics: one metric after the other, each with its help and its kind.
#include "metrics/exposition.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace sdkkit {
namespace {

bool IsLetter(char letter) {
  return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z') || letter == '_';
}

bool IsDigit(char letter) { return letter >= '0' && letter <= '9'; }

// The length of a label's quoted value at the front, quotes included; 0 when there is none.
std::size_t QuotedLength(std::string_view text) {
  if (!text.starts_with('"')) return 0;
  for (std::size_t i = 1; i < text.size(); ++i) {
    if (text[i] == '"') return i + 1;
    if (text[i] == '\n') return 0;
    if (text[i] != '\\') continue;
    ++i;
    if (i == text.size() || std::string_view("\\\"n").find(text[i]) == std::string_view::npos) return 0;
  }
  return 0;
}

std::string Number(double value) {
  if (std::isnan(value)) return "NaN";
  if (std::isinf(value)) return value > 0 ? "+Inf" : "-Inf";
  std::array<char, 40> text{};
  const auto end = std::to_chars(text.begin(), text.end(), value).ptr;
  return {text.begin(), end};
}

}  // namespace

bool IsMetricName(std::string_view name) {
  return !name.empty() && !IsDigit(name[0]) && std::all_of(name.begin(), name.end(), [](char letter) {
    return IsLetter(letter) || IsDigit(letter) || letter == ':';
  });
}

bool IsLabelList(std::string_view labels) {
  while (!labels.empty()) {
    const std::size_t name = std::min(labels.find('='), labels.size());
    if (!IsMetricName(labels.substr(0, name)) || labels.substr(0, name).find(':') != std::string_view::npos)
      return false;
    labels.remove_prefix(std::min(name + 1, labels.size()));
    const std::size_t value = QuotedLength(labels);
    if (value == 0) return false;
    labels.remove_prefix(value);
    if (labels.empty()) return true;
    if (labels[0] != ',' || labels.size() == 1) return false;
    labels.remove_prefix(1);
  }
  return true;
}

void Exposition::Add(std::string_view name, std::string_view help, bool counter, std::string_view labels,
                     double value) {
  if (name != name_) Begin(name, help, counter);
  text_ += name;
  if (!labels.empty()) text_.append("{").append(labels).append("}");
  text_.append(" ").append(Number(value)).append("\n");
}

void Exposition::Begin(std::string_view name, std::string_view help, bool counter) {
  name_ = name;
  text_.append("# HELP ").append(name).append(" ");
  for (const char letter : help) {
    if (letter == '\\' || letter == '\n') text_ += '\\';
    text_ += letter == '\n' ? 'n' : letter;
  }
  text_.append("\n# TYPE ").append(name).append(counter ? " counter\n" : " gauge\n");
}

}  // namespace sdkkit
