// The text format of metrics: one metric after the other, each with its help and its kind.
#pragma once

#include <string>
#include <string_view>

namespace sdkkit {

// Whether a metric may be called so.
bool IsMetricName(std::string_view name);

// Whether a text is a list of labels as it stands between the braces, such as `input="1",output="2"`.
bool IsLabelList(std::string_view labels);

class Exposition {
 public:
  // One sample. Its help and kind are written where the name differs from the sample before.
  void Add(std::string_view name, std::string_view help, bool counter, std::string_view labels, double value);

  std::string Take() { return std::move(text_); }

 private:
  void Begin(std::string_view name, std::string_view help, bool counter);

  std::string text_;
  std::string name_;
};

}  // namespace sdkkit
