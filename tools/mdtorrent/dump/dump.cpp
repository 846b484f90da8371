#include "tools/mdtorrent/dump/dump.h"

#include <errno.h>

#include <algorithm>

#include "QuickLookPlugin/file_bytes.h"
#include "QuickLookPlugin/tree_budget.h"
#include "core/bencode/bencoding.h"
#include "core/bencode/bencwalk.h"
#include "core/containers/templates.h"
#include "tools/mdtorrent/failure.h"

namespace mdtorrent {
namespace {

// A tree that is freed at the end.
struct Tree : core::BencEntity {
  ~Tree() { FreeMembers(); }
};

// Finds the longest string of a tree.
struct LongestString {
  size_t len = 0;

  void Scalar(const core::BencEntity& v, const core::BencPlace&) {
    if (v.GetType() == core::BENC_STR) {
      len = std::max(len, core::BencTree::Bytes(v)->size());
    }
  }
  size_t Open(const core::BencEntity&, const core::BencPlace&) { return 0; }
  void Close(const core::BencEntity&, const core::BencPlace&) {}
};

// The emitter stops the process for a string whose URL-encoding may not stand on the stack.
bool HasXmlText(const core::BencEntity& tree) {
  LongestString longest;
  core::BencWalk(longest).Visit(tree);
  return 3 * longest.len < core::GetMaxStackSize() / 2;
}

void Emit(core::BencodedEmitter& out, const core::BencEntity& tree, TreeFormat format) {
  switch (format) {
    case TreeFormat::kBencode:
      out.Emit(&tree);
      break;
    case TreeFormat::kAscii:
      out.EmitAsAscii(&tree, "");
      break;
    case TreeFormat::kXml:
      out.EmitAsXML("torrent", &tree, 0);
      break;
    case TreeFormat::kJson:
      out.EmitAsJson(&tree, 0);
      out.EmitChar('\n');
      break;
  }
}

// Where the tree ends in the file, or null.
const unsigned char* Decode(const reader::FileBytes& file, core::BencEntity& tree) {
  const bool fits = reader::TreeFitsBudget(file.begin(), file.end(), reader::TreeBudget(file.size()));
  return fits ? core::BencEntity::Parse(file.begin(), tree, file.end()) : nullptr;
}

ExitCode Write(const core::BencodedEmitter& text, FILE* out, FILE* complaints) {
  if (fwrite(text.data(), 1, text.size(), out) == text.size() && fflush(out) == 0) {
    return ExitCode::kSuccess;
  }
  TellOutputError(complaints, errno);
  return ExitCode::kUnreadable;
}

}  // namespace

ExitCode Dump(const DumpOptions& options, FILE* out, FILE* complaints) {
  const auto complain = [&](const std::string& reason) {
    fputs(ComplaintLine(options.path, reason).c_str(), complaints);
  };
  reader::FileBytes file;
  if (options.path.find('\0') != std::string::npos || !file.Load(options.path.c_str())) {
    const Failure failure = Diagnose(options.path);
    complain(failure.reason);
    return failure.outcome == Outcome::kUnreadable ? ExitCode::kUnreadable : ExitCode::kUnusable;
  }
  Tree tree;
  const unsigned char* end = Decode(file, tree);
  if (!end) {
    complain("not a bencoded list or dictionary");
    return ExitCode::kUnusable;
  }
  if (options.format == TreeFormat::kXml && !HasXmlText(tree)) {
    complain("a string is too long for XML");
    return ExitCode::kUnusable;
  }
  if (end < file.end()) {
    complain("ignored what follows the first value: " + std::to_string(file.end() - end) + " bytes");
  }
  core::BencodedEmitter text;
  Emit(text, tree, options.format);
  return Write(text, out, complaints);
}

}  // namespace mdtorrent
