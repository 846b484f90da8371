#include <limits.h>
#include <string.h>

#include <utility>

#include "core/base/mem1.h"
#include "core/containers/templates.h"
#include "core/format/strfmt.h"

namespace core {
namespace {

constexpr char kSource[] = "core/templates";

// The growing text of AsStringNoCheck. Its block always ends two bytes beyond the room that the
// formatter is told: one for a comma, one for the terminator.
class JoinBuffer {
 public:
  // Starts with the first `copied` bytes of a prefix of `prefix_len`.
  //
  // On purpose: the room counts the whole prefix although a copied one takes that much of the text;
  // the block is larger by as much instead.
  JoinBuffer(const char* prefix, size_t prefix_len, size_t copied)
      : text_(static_cast<char*>(MyMalloc(prefix_len + copied + kStep))),
        size_(prefix_len + copied + kStep),
        used_(copied),
        room_(static_cast<int>(prefix_len < kMaxRoom ? prefix_len + kStep - 2 : kMaxRoom)) {
    memcpy(text_, prefix, copied);
  }
  ~JoinBuffer() { MyFree(text_); }
  JoinBuffer(const JoinBuffer&) = delete;
  JoinBuffer& operator=(const JoinBuffer&) = delete;

  void Add(int (*format)(char* dst, int room, const void* element), const void* element) {
    const int written = Clamp(format(text_ + used_, room_, element));
    if (written > room_ - 10) {
      size_ += kStep;
      text_ = static_cast<char*>(MyRealloc(text_, size_));
      AssertAt(text_ != nullptr, kSource, 159);
      room_ += kStep;
    }
    room_ -= written;
    used_ += static_cast<size_t>(written);
  }

  void AddComma() {
    text_[used_++] = ',';
    --room_;
  }

  // The terminated text, which stays the buffer's.
  const char* Text() {
    text_[used_] = '\0';
    return text_;
  }

  // Hands the terminated text over; nothing else may be called after it.
  char* Steal() {
    text_[used_] = '\0';
    return std::exchange(text_, nullptr);
  }

 private:
  static constexpr int kStep = 1024;
  static constexpr size_t kMaxRoom = INT_MAX - 2 * kStep;  // one more step must not wrap

  // A formatter that claims more than it was given, or less than nothing, is not believed.
  int Clamp(int written) const { return written < 0 ? 0 : written > room_ ? room_ : written; }

  char* text_;
  size_t size_;
  size_t used_;  // the write position, an offset because the block moves
  int room_;
};

}  // namespace

char* LListRaw::AsStringNoCheck(const char* prefix, bool url_encode, int stride,
                                int (*format)(char* dst, int room, const void* element)) const {
  const size_t prefix_len = strlen(prefix);
  JoinBuffer joined(prefix, prefix_len, url_encode ? 0 : prefix_len);
  // On purpose: the count is read as 32 bits with sign.
  const int32_t n = static_cast<int32_t>(count);
  for (int32_t i = 0; i < n; ++i) {
    joined.Add(format, data + ptrdiff_t{i} * stride);
    if (i < n - 1) {
      joined.AddComma();
    }
  }
  return url_encode ? str_fmt("%s%U", prefix, joined.Text()) : joined.Steal();
}

}  // namespace core
