// What one client has still to get: texts in order, a newer one of a key in the place of the older.
#include "events/backlog.h"

#include <utility>

namespace sdkkit {

void Backlog::Append(Waiting waiting) {
  bytes_ += waiting.text->size();
  waiting_.push_back(std::move(waiting));
}

bool Backlog::Replace(const std::string& key, const EventText& text) {
  const auto found = replaceable_.find(key);
  if (found == replaceable_.end()) return false;
  EventText& older = found->second->text;
  bytes_ += text->size() - older->size();
  older = text;
  return true;
}

void Backlog::AddKeyed(const std::string& key, const EventText& text) {
  Append({key, text});
  replaceable_.insert_or_assign(key, &waiting_.back());
}

void Backlog::AddPlain(const EventText& text) {
  Append({"", text});
  replaceable_.clear();
}

void Backlog::AddAnswer(const EventText& text) { Append({"", text}); }

void Backlog::PutInFront(const std::vector<EventText>& texts) {
  for (auto text = texts.rbegin(); text != texts.rend(); ++text) {
    bytes_ += (*text)->size();
    waiting_.push_front({"", *text});
  }
}

EventText Backlog::TakeFirst() {
  Waiting& first = waiting_.front();
  const auto found = replaceable_.find(first.key);
  if (found != replaceable_.end() && found->second == &first) replaceable_.erase(found);
  EventText text = std::move(first.text);
  bytes_ -= text->size();
  waiting_.pop_front();
  return text;
}

std::deque<EventText> Backlog::Take(std::size_t bytes, std::size_t mostTexts) {
  std::deque<EventText> taken;
  std::size_t size = 0;
  while (!waiting_.empty() && size < bytes && taken.size() < mostTexts) {
    taken.push_back(TakeFirst());
    size += taken.back()->size();
  }
  return taken;
}

}  // namespace sdkkit
