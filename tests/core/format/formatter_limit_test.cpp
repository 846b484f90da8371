// The limit of a run: clipping, padding and the invariant.
#include <limits.h>
#include <unistd.h>

#include <algorithm>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "core/containers/templates.h"
#include "core/format/strfmt.h"
#include "tests/support/fatal.h"
#include "tests/support/formatted.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/small_stack.h"
#include "tests/support/stack_limit.h"

namespace {

void RunNarrow(core::FormatterOutputCallbackData& data, const char* format, ...) {
  va_list args;
  va_start(args, format);
  core::fd_formatter(data, format, args);
  va_end(args);
}

void RunWide(core::FormatterOutputCallbackData& data, const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  core::fd_formatter_wchar(data, format, args);
  va_end(args);
}

TEST(FormatterLimit, ChecklimitLowersToTheRoom) {
  Counter out(10);
  out.written = 7;
  for (const auto& [n, clipped] :
       {std::pair{2, 2}, {3, 3}, {4, 3}, {0, 0}, {INT_MAX, 3}, {-1, -1}, {INT_MIN, INT_MIN}}) {
    int value = n;
    out.checklimit(value);
    EXPECT_EQ(clipped, value) << n;
  }
  out.written = 10;
  int value = 1;
  out.checklimit(value);
  EXPECT_EQ(0, value);
}

TEST(FormatterLimit, PadEmitsWhatFitsAndReturnsIt) {
  Recorder out(300);
  EXPECT_EQ(5, out.do_pad('x', 5));
  EXPECT_EQ(0, out.do_pad('x', 0));
  EXPECT_EQ(295, out.do_pad('-', 1000));
  EXPECT_EQ(0, out.do_pad('-', 1000));
  EXPECT_EQ("xxxxx" + std::string(295, '-'), out.Bytes());
  EXPECT_EQ(300U, out.written);
}

TEST(FormatterLimit, PadIsExactAroundItsRuns) {
  for (int count : {1, 255, 256, 257, 511, 512, 513}) {
    Recorder out(1000);
    EXPECT_EQ(count, out.do_pad('0', count));
    EXPECT_EQ(std::string(static_cast<size_t>(count), '0'), out.Bytes());
  }
}

// The longest run that a sink was given.
size_t LongestRun(const Recorder& out) {
  size_t longest = 0;
  for (const Recorder::Run& run : out.runs) {
    longest = std::max(longest, run.text.size());
  }
  return longest;
}

TEST(FormatterLimit, LongRunsReachTheSinkInPieces) {
  Recorder padding(UINT64_MAX);
  padding.do_pad('-', 10000);
  EXPECT_EQ(256U, LongestRun(padding));
  Recorder encoded(UINT64_MAX);
  core::fmt_urlencoded(encoded, std::string(10000, '/').data(), 10000);
  EXPECT_GE(256U, LongestRun(encoded));
  EXPECT_EQ(30000U, encoded.written);
}

TEST(FormatterLimit, PadMustStayBelowHalfTheStack) {
  const size_t half = core::GetMaxStackSize() / 2;
  ASSERT_LT(half, static_cast<size_t>(INT_MAX)) << "the stack limit of this process is too high for the check";
  const int bound = static_cast<int>(half);
  Counter out(UINT64_MAX);
  EXPECT_EQ(bound - 1, out.do_pad(' ', bound - 1));
  EXPECT_EQ(half - 1, out.received);
  EXPECT_FATAL(out.do_pad(' ', bound), "core/strfmt", 133);
  EXPECT_FATAL(out.do_pad(' ', bound + 1), "core/strfmt", 133);
  EXPECT_FATAL(RunNarrow(out, "%*d", bound + 1, 5), "core/strfmt", 133);
  EXPECT_FATAL(RunWide(out, L"%0*d", bound + 1, 5), "core/strfmt", 133);
}

TEST(FormatterLimit, PadFollowsTheStackLimitOfTheProcess) {
  testing::GTEST_FLAG(death_test_style) = "threadsafe";  // the limit is read once in a process
  Counter out(UINT64_MAX);
  const auto pad = [&out](rlim_t stack, int count) {
    LimitStack(stack);
    out.do_pad(' ', count);
    _exit(0);
  };
  EXPECT_EXIT(pad(600000, 299999), testing::ExitedWithCode(0), "");
  EXPECT_FATAL(pad(600000, 300000), "core/strfmt", 133);
  EXPECT_EXIT(pad(500001, 249999), testing::ExitedWithCode(0), "");
  EXPECT_FATAL(pad(500001, 250000), "core/strfmt", 133);
}

// The bound is that of the process; a thread may have far less.
TEST(FormatterLimit, LongPadsAndEncodingsNeedNoStack) {
  ASSERT_LT(size_t{1800000}, core::GetMaxStackSize() / 2) << "the stack limit of this process is too low for the check";
  const std::string blanks(600000, ' ');
  Counter out(UINT64_MAX);
  OnSmallStack([&] {
    out.do_pad(' ', 1000000);
    RunNarrow(out, "%1000000d%01000000d%.1000000d", 5, 5, 5);
    core::fmt_urlencoded(out, blanks.data(), blanks.size());
  });
  EXPECT_EQ(4000000u + 3 * blanks.size(), out.received);
}

TEST(FormatterLimit, PadIsClippedBeforeItIsJudged) {
  const int bound = static_cast<int>(core::GetMaxStackSize() / 2);
  Counter out(static_cast<uint64_t>(bound) - 1);
  EXPECT_EQ(bound - 1, out.do_pad(' ', bound));
  EXPECT_EQ(0, out.do_pad(' ', INT_MAX));
}

TEST(FormatterLimit, NegativePadIsFatal) {
  Counter out(10);
  EXPECT_FATAL(out.do_pad(' ', -1), "core/strfmt", 133);
  EXPECT_FATAL(out.do_pad(' ', INT_MIN), "core/strfmt", 133);
  out.written = 10;
  EXPECT_FATAL(out.do_pad(' ', -1), "core/strfmt", 133);
}

TEST(FormatterLimit, BrokenInvariantIsFatal) {
  Counter out(10);
  out.written = 11;
  EXPECT_FATAL(RunNarrow(out, "%d", 5), "core/strfmt", 653);
  EXPECT_FATAL(RunWide(out, L"%d", 5), "core/strfmt", 713);
}

TEST(FormatterLimit, InvariantIsCheckedAtEachDirective) {
  Counter out(10);
  out.out = [](core::FormatterOutputCallbackData& data, const char* /*text*/, size_t /*n*/) { data.written = 100; };
  out.outw = [](core::FormatterOutputCallbackData& data, const wchar_t* /*text*/, size_t /*n*/) { data.written = 100; };
  EXPECT_FATAL(RunNarrow(out, "%d%d", 5, 6), "core/strfmt", 653);
  EXPECT_FATAL(RunWide(out, L"%d%d", 5, 6), "core/strfmt", 713);
}

TEST(FormatterLimit, FullOutputIsNoError) {
  Recorder out(3);
  RunNarrow(out, "abc%d%s%5d", 5, "x", 7);
  EXPECT_EQ("abc", out.Bytes());
  EXPECT_EQ(3U, out.written);
}

TEST(FormatterLimit, RunMayStartBehindEarlierOutput) {
  Recorder out(6);
  out.written = 4;
  RunNarrow(out, "%s", "abc");
  EXPECT_EQ("ab", out.Bytes());
  EXPECT_EQ(6U, out.written);
}

TEST(FormatterLimit, PaddingOfACutStringCountsTheCutText) {
  char buf[4];
  EXPECT_EQ(3, core::nusnprintf(buf, sizeof buf, "%5s", "abcd"));
  EXPECT_STREQ("  a", buf);
  EXPECT_EQ(3, core::nusnprintf(buf, sizeof buf, "%-5s", "ab"));
  EXPECT_STREQ("ab ", buf);
}

const unsigned char kHash[20] = {0xde, 0xad, 0xbe, 0xef};

// A format with its arguments, for each of the two widths.
struct LimitCase {
  const char* name;
  bool cut_only;  // what fits is the beginning of the whole
  std::function<int(char*, size_t)> narrow;
  std::function<int(wchar_t*, size_t)> wide;
};

template <class... Args>
LimitCase CaseOf(const char* format, bool cut_only, Args... args) {
  return {
      format, cut_only, [=](char* buf, size_t size) { return core::nusnprintf(buf, size, format, args...); },
      [=](wchar_t* buf, size_t size) { return core::nuwsnprintf(buf, size, WideFormatOf(format).c_str(), args...); }};
}

std::vector<LimitCase> LimitCases() {
  in6_addr address = {};
  address.s6_addr[0] = 0xfe;
  address.s6_addr[15] = 1;
  return {
      CaseOf("", true),
      CaseOf("abcdefghijklmnopqr tuvwxyz0123456789abcdefghijklmnopqr tuvwxyz0123456789", true),
      CaseOf("%d|%d", true, 12345, -67890),
      CaseOf("%40d|%-40d|%040d", true, 5, 6, 7),
      CaseOf("%+#:40.30d|", true, 123),
      CaseOf("%.70d", true, 5),
      CaseOf("%#:.70Lx", true, UINT64_MAX),
      CaseOf("%Lb", true, UINT64_MAX),
      CaseOf("%s%s", true, "abcdefghijklmnopqrstuvwxyz", "0123456789"),
      CaseOf("%-40s|%s", true, "abc", "def"),
      CaseOf("%40s|%s", false, "abc", "def"),
      CaseOf("%S|%-30S|", true, L"abcdefgh", L"ijkl"),
      CaseOf("%30S|", false, L"abcdefgh"),
      CaseOf("%c%5c%-5c|", true, 'a', 'b', 'c'),
      CaseOf("%%%%%%%d", true, 5),
      CaseOf("%.30m|", true, "abcdefghijklmnopqrstuvwxyz0123"),
      CaseOf("%U|%U", true, "a b/c d/e f/", "////////////////"),
      CaseOf("%I|%03I|%-030I|", true, 0xC0A80001U, 0xC0A80001U, 0xC0A80001U),
      CaseOf("%V|%-30V|", true, address, address),
      CaseOf("%h|%H", true, kHash, kHash),
      CaseOf("%#h", true, kHash),
      CaseOf("%Z|%z|%#Z|%30Z|", true, uint64_t{1536}, uint64_t{5}, uint64_t{4700000000}, uint64_t{7}),
      CaseOf("%f|%.2f|%40f|", true, 3.25, -2.5, 1e300),
      CaseOf("%.60f|", true, 0.0),
      CaseOf("%p", true, kHash),
      CaseOf("%2147483647d", true, 5),
      CaseOf("%.2147483647d", true, 5),
      CaseOf("%-2147483647d", true, 5),
      CaseOf("%.2147483647f", true, 0.25),
  };
}

TEST(FormatterLimit, NothingIsWrittenBeyondAnyLimit) {
  for (const LimitCase& c : LimitCases()) {
    SCOPED_TRACE(c.name);
    std::vector<char> whole(4000);
    c.narrow(whole.data(), whole.size());
    const std::string full = whole.data();
    for (size_t limit = 0; limit <= 64; ++limit) {
      SCOPED_TRACE(limit);
      GuardedBuffer<char> narrow(limit + 1);
      const int written = c.narrow(narrow.buf(), narrow.size());
      ASSERT_TRUE(narrow.GuardsHold());
      ASSERT_GE(written, 0);
      ASSERT_LE(static_cast<size_t>(written), limit);
      ASSERT_EQ('\0', narrow.buf()[written]);
      ASSERT_TRUE(narrow.UntouchedFrom(static_cast<size_t>(written) + 1));
      const std::string text(narrow.buf(), static_cast<size_t>(written));
      if (c.cut_only) {
        ASSERT_EQ(full.substr(0, limit), text);
      }

      GuardedBuffer<wchar_t> wide(limit + 1);
      ASSERT_EQ(written, c.wide(wide.buf(), wide.size()));
      ASSERT_TRUE(wide.GuardsHold());
      ASSERT_TRUE(wide.UntouchedFrom(static_cast<size_t>(written) + 1));
      ASSERT_EQ(std::wstring(text.begin(), text.end()), std::wstring(wide.buf()));
    }
  }
}

}  // namespace
