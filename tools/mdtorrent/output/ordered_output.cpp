#include "tools/mdtorrent/output/ordered_output.h"

#include <errno.h>

#include <utility>

namespace mdtorrent {

void OrderedOutput::NoteError() {
  int none = 0;
  error_.compare_exchange_strong(none, errno != 0 ? errno : EIO);
}

void OrderedOutput::Put(std::string_view text) {
  if (!text.empty() && error() == 0 && fwrite(text.data(), 1, text.size(), streams_.out) != text.size()) {
    NoteError();
  }
  if (!text.empty()) {
    line_ended_ = text.back() == '\n';
  }
}

void OrderedOutput::MakeRoomForText() {
  if (streams_.out_on_screen) {
    progress_.Erase();
  }
}

// Where the text of a record is still in the line, as in JSON, there is no room for another.
void OrderedOutput::ShowProgress() {
  if (!streams_.out_on_screen || line_ended_) {
    progress_.Update(counts_);
  }
}

void OrderedOutput::PutRecordText(std::string_view text) {
  if (text.empty()) {
    return;
  }
  if (!record_begun_) {
    record_begun_ = true;
    MakeRoomForText();
    if (any_record_) {
      Put(framing_.between);
    }
    any_record_ = true;
  }
  Put(text);
}

void OrderedOutput::EndRecord(Outcome outcome, std::string_view text, const std::string& complaint) {
  PutRecordText(text);
  record_begun_ = false;
  if ((streams_.flush_each || !complaint.empty()) && error() == 0 && fflush(streams_.out) != 0) {
    NoteError();
  }
  if (!complaint.empty()) {
    progress_.Erase();
    fputs(complaint.c_str(), streams_.err);
  }
  counts_.Add(outcome);
  ShowProgress();
  next_.fetch_add(1, std::memory_order_release);
}

void OrderedOutput::EndKeptRecords() {
  for (auto kept = kept_.begin(); kept != kept_.end() && kept->first == next_; kept = kept_.erase(kept)) {
    kept_size_ -= kept->second.Size();
    EndRecord(kept->second.outcome, kept->second.text, kept->second.complaint);
  }
}

void OrderedOutput::Begin() { Put(framing_.before); }

void OrderedOutput::End() {
  MakeRoomForText();
  Put(framing_.after);
  if (error() == 0 && fflush(streams_.out) != 0) {
    NoteError();
  }
}

void OrderedOutput::TakePart(size_t number, std::string& text) {
  if (next_.load(std::memory_order_acquire) != number && text.size() < kMostGathered) {
    return;
  }
  std::unique_lock<std::mutex> held(lock_);
  turn_changed_.wait(held, [&] { return next_ == number; });
  PutRecordText(text);
  text.clear();
}

void OrderedOutput::Finish(size_t number, Outcome outcome, std::string& text, std::string complaint) {
  std::unique_lock<std::mutex> held(lock_);
  turn_changed_.wait(held, [&] { return next_ == number || kept_size_ + text.size() <= kMostKept; });
  if (next_ != number) {
    const auto [kept, added] = kept_.emplace(number, Kept{outcome, std::move(text), std::move(complaint)});
    kept_size_ += kept->second.Size();
    text.clear();
    return;
  }
  EndRecord(outcome, text, complaint);
  EndKeptRecords();
  text.clear();
  turn_changed_.notify_all();
}

}  // namespace mdtorrent
