// Puts the records that several threads make onto standard output in the order of the input.
//
// Every record has a number, counted from 0 without gaps. The thread whose record is next writes
// while it works; the others keep what they make until it is their turn, within a limit, so that
// memory stays bounded however large the records are. Safe from any thread.
#pragma once

#include <stddef.h>
#include <stdio.h>

#include <atomic>
#include <condition_variable>
#include <map>
#include <mutex>
#include <string>

#include "tools/mdtorrent/failure.h"
#include "tools/mdtorrent/output/progress.h"
#include "tools/mdtorrent/output/record_writer.h"

namespace mdtorrent {

class OrderedOutput {
 public:
  struct Streams {
    FILE* out;
    FILE* err;
    bool flush_each;     // whether a reader waits for each record
    bool out_on_screen;  // whether what is written to `out` appears where the progress line stands
  };

  OrderedOutput(Streams streams, const Framing& framing, Progress& progress)
      : streams_(streams), framing_(framing), progress_(progress) {}

  // Writes what stands before the first record, and what stands after the last one.
  void Begin();
  void End();

  // Hands over the start of record `number`. Takes it out of `text`, or leaves it there while it is
  // another record's turn and not yet too much.
  void TakePart(size_t number, std::string& text);

  // Hands over the rest of record `number` and empties `text`; `complaint` goes to standard error.
  // Waits while too much is kept for later.
  void Finish(size_t number, Outcome outcome, std::string& text, std::string complaint);

  // The error that stopped the output; 0 when all is well. Nothing is written after it.
  int error() const { return error_.load(std::memory_order_relaxed); }

  // Requires: no thread is at work any more.
  const Counts& counts() const { return counts_; }

 private:
  struct Kept {
    Outcome outcome;
    std::string text, complaint;
    size_t Size() const { return sizeof *this + text.size() + complaint.size(); }
  };

  static constexpr size_t kMostGathered = size_t{1} << 20;
  static constexpr size_t kMostKept = size_t{16} << 20;

  void Put(std::string_view text);
  void MakeRoomForText();
  void ShowProgress();
  void PutRecordText(std::string_view text);
  void EndRecord(Outcome outcome, std::string_view text, const std::string& complaint);
  void EndKeptRecords();
  void NoteError();

  Streams streams_;
  Framing framing_;
  Progress& progress_;
  std::mutex lock_;
  std::condition_variable turn_changed_;
  std::atomic<size_t> next_{0};
  std::map<size_t, Kept> kept_;
  size_t kept_size_ = 0;
  bool record_begun_ = false;
  bool any_record_ = false;
  bool line_ended_ = true;
  Counts counts_;
  std::atomic<int> error_{0};
};

// The text of a thread's current record.
class RecordBuffer : public TextBuffer {
 public:
  explicit RecordBuffer(OrderedOutput& output) : output_(output) {}

  void Start(size_t number) { number_ = number; }

  void Finish(Outcome outcome, std::string complaint) {
    output_.Finish(number_, outcome, text(), std::move(complaint));
  }

 private:
  void HandOver() override { output_.TakePart(number_, text()); }

  OrderedOutput& output_;
  size_t number_ = 0;
};

}  // namespace mdtorrent
