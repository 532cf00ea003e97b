// A PEM file that is read piece by piece, and refused at the first block that is of no use.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "certificate/owned.h"

namespace sdkkit {

class PemReader {
 public:
  explicit PemReader(std::string passPhrase) : passPhrase_(std::move(passPhrase)) {}

  // Why no continuation can make the file acceptable; empty as long as one can.
  std::string Feed(std::string_view piece);

 private:
  std::string TakeLine(const std::string& line);
  std::string TakeBlock(std::string_view label, const std::string& block);

  std::string passPhrase_;
  std::string head_;   // how the file begins
  std::string line_;   // what has come of the last line
  std::string label_;  // of the block that the last line belongs to; empty outside
  std::string block_;
  std::size_t bytes_ = 0;
  CertificatePtr certificate_;
  KeyPtr key_;
};

}  // namespace sdkkit
