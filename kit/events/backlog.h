// What one client has still to get: texts in order, a newer one of a key in the place of the older.
#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace sdkkit {

// One copy of a text, however many clients wait for it.
using EventText = std::shared_ptr<const std::string>;

class Backlog {
 public:
  // Puts the text in the place of its key's last one; false when there is none to replace.
  bool Replace(const std::string& key, const EventText& text);
  void AddKeyed(const std::string& key, const EventText& text);
  // Texts with a key do not change sides with this one.
  void AddPlain(const EventText& text);
  void AddAnswer(const EventText& text);
  void PutInFront(const std::vector<EventText>& texts);

  // Takes the first texts, until they have as many bytes or there are `mostTexts`.
  std::deque<EventText> Take(std::size_t bytes, std::size_t mostTexts);

  bool empty() const { return waiting_.empty(); }
  std::size_t texts() const { return waiting_.size(); }
  std::size_t bytes() const { return bytes_; }

 private:
  struct Waiting {
    std::string key;
    EventText text;
  };

  void Append(Waiting waiting);
  EventText TakeFirst();

  std::deque<Waiting> waiting_;
  // Those that a newer text of their key may replace. Places in a deque stay where they are while both ends
  // move.
  std::map<std::string, Waiting*, std::less<>> replaceable_;
  std::size_t bytes_ = 0;
};

}  // namespace sdkkit
