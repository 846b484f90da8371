#include "tools/mdtorrent/input/path_list.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <thread>

#include "tests/support/temp_folder.h"

namespace mdtorrent {
namespace {

using Strings = std::vector<std::string>;

Strings Rest(PathList& list) {
  Strings paths;
  while (const std::optional<PathItem> item = list.Next()) {
    paths.push_back(item->path + (item->failure ? " (" + item->failure->reason + ")" : ""));
  }
  return paths;
}

Strings Under(const TempFolder& folder, const Strings& names) {
  Strings paths;
  for (const std::string& name : names) {
    paths.push_back((folder.path() / name).string());
  }
  return paths;
}

PathList Recursive(const Strings& paths) {
  PathList::Source source;
  source.paths = paths;
  source.recursive = true;
  return PathList(source);
}

TEST(PathList, NamedPathsComeAsTheyAre) {
  PathList::Source source;
  source.paths = {"b", "a", "/dev/null", "", "b"};
  PathList list(source);
  EXPECT_EQ((Strings{"b", "a", "/dev/null", "", "b"}), Rest(list));
}

TEST(PathList, AFolderIsNotSearchedUnasked) {
  PathList::Source source;
  source.paths = {"/"};
  PathList list(source);
  EXPECT_EQ((Strings{"/ (is a folder; add -r to search it)"}), Rest(list));
  EXPECT_FALSE(list.searched_folder());
}

TEST(PathList, AFolderIsNotFoundByTheStartOfAName) {
  const std::string name("/\0x", 3);
  PathList list = Recursive({name});
  EXPECT_EQ((Strings{name}), Rest(list));
  EXPECT_FALSE(list.searched_folder());
}

TEST(PathList, FoldersAreSearchedInTheOrderOfTheNames) {
  const TempFolder folder;
  for (const char* name :
       {"z.torrent", "a/2.TORRENT", "a/1.torrent", "b.Torrent", "b.torrent.txt", ".torrent", "c/x"}) {
    folder.Write(name, "");
  }
  PathList list = Recursive({folder.path()});
  EXPECT_EQ(Under(folder, {".torrent", "a/1.torrent", "a/2.TORRENT", "b.Torrent", "z.torrent"}), Rest(list));
  EXPECT_TRUE(list.searched_folder());
}

TEST(PathList, AFileThatIsNamedNeedsNoEnding) {
  const TempFolder folder;
  const std::string file = folder.Write("file", "");
  PathList list = Recursive({file, "missing"});
  EXPECT_EQ((Strings{file, "missing"}), Rest(list));
  EXPECT_FALSE(list.searched_folder());
}

TEST(PathList, LinksToFoldersAreNotFollowed) {
  const TempFolder folder;
  folder.Write("a/x.torrent", "");
  for (const char* link : {"a/up", "a/up.torrent", "b"}) {
    std::filesystem::create_directory_symlink(folder.path(), folder.path() / link);
  }
  PathList list = Recursive({folder.path()});
  EXPECT_EQ(Under(folder, {"a/x.torrent"}), Rest(list));
}

TEST(PathList, ALinkThatIsNamedIsFollowed) {
  const TempFolder folder;
  folder.Write("real/x.torrent", "");
  std::filesystem::create_directory_symlink("real", folder.path() / "link");
  PathList list = Recursive({folder.path() / "link"});
  EXPECT_EQ(Under(folder, {"link/x.torrent"}), Rest(list));
}

TEST(PathList, LinksToFilesCountAsFiles) {
  const TempFolder folder;
  folder.Write("file", "");
  std::filesystem::create_symlink("file", folder.path() / "good.torrent");
  std::filesystem::create_symlink("nowhere", folder.path() / "dangling.torrent");
  std::filesystem::create_symlink("self.torrent", folder.path() / "self.torrent");
  PathList list = Recursive({folder.path()});
  EXPECT_EQ(Under(folder, {"dangling.torrent", "good.torrent", "self.torrent"}), Rest(list));
}

TEST(PathList, AFolderNamedLikeATorrentIsSearched) {
  const TempFolder folder;
  folder.Write("x.torrent/y.torrent", "");
  PathList list = Recursive({folder.path()});
  EXPECT_EQ(Under(folder, {"x.torrent/y.torrent"}), Rest(list));
}

TEST(PathList, AFolderThatIsGoneIsAFailureAndTheRestGoesOn) {
  const TempFolder folder;
  folder.Write("a/1.torrent", "");
  folder.Write("b/2.torrent", "");
  folder.Write("c.torrent", "");
  PathList list = Recursive({folder.path()});
  EXPECT_EQ(Under(folder, {"a/1.torrent"})[0], list.Next()->path);
  std::filesystem::remove_all(folder.path() / "b");
  EXPECT_EQ(Under(folder, {"b (cannot open: No such file or directory)", "c.torrent"}), Rest(list));
}

TEST(PathList, ATrailingSlashIsNotDoubled) {
  const TempFolder folder;
  folder.Write("x.torrent", "");
  PathList list = Recursive({folder.path().string() + "/"});
  EXPECT_EQ(Under(folder, {"x.torrent"}), Rest(list));
}

TEST(PathList, TheTotalIsKnownOnceCollected) {
  const TempFolder folder;
  folder.Write("1.torrent", "");
  folder.Write("2.torrent", "");
  PathList list = Recursive({"named", folder.path()});
  EXPECT_EQ(std::nullopt, list.total());
  list.CollectIfFinite();
  EXPECT_EQ(3u, list.total());
  EXPECT_EQ(3u, Rest(list).size());
  EXPECT_EQ(3u, list.total());
}

// The reading end of a pipe, with what a test writes into it.
class Pipe {
 public:
  explicit Pipe(std::string_view text) {
    EXPECT_EQ(0, pipe(ends_));
    EXPECT_EQ(static_cast<ssize_t>(text.size()), write(ends_[1], text.data(), text.size()));
  }
  ~Pipe() {
    close(ends_[0]);
    CloseWriter();
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  int reader() const { return ends_[0]; }
  int writer() const { return ends_[1]; }
  void CloseWriter() {
    if (ends_[1] >= 0) {
      close(ends_[1]);
    }
    ends_[1] = -1;
  }

 private:
  int ends_[2];
};

PathList FromInput(int input, char separator, Strings paths = {"-"}) {
  PathList::Source source;
  source.paths = std::move(paths);
  source.separator = separator;
  source.input = input;
  return PathList(source);
}

TEST(PathList, InputLinesArePaths) {
  Pipe input("a b\n\n c\r\n-\nlast");
  input.CloseWriter();
  PathList list = FromInput(input.reader(), '\n', {"first", "-", "then"});
  EXPECT_EQ((Strings{"first", "a b", " c\r", "-", "last", "then"}), Rest(list));
}

TEST(PathList, ZeroSeparatedPathsMayHoldNewlines) {
  Pipe input(std::string_view("a\nb\0\0c\0", 7));
  input.CloseWriter();
  PathList list = FromInput(input.reader(), '\0');
  EXPECT_EQ((Strings{"a\nb", "c"}), Rest(list));
}

TEST(PathList, APathThatComesInPiecesIsWhole) {
  Pipe input("be");
  PathList list = FromInput(input.reader(), '\n');
  std::thread writer([&input] {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(8, write(input.writer(), "gin\nnext", 8));
    input.CloseWriter();
  });
  EXPECT_EQ("begin", list.Next()->path);
  writer.join();
  EXPECT_EQ((Strings{"next"}), Rest(list));
}

TEST(PathList, AnEndlessLineIsCutAndTheNextOneIsFound) {
  const TempFolder folder;
  const std::string file = folder.Write("list", std::string(300000, 'x') + "\nnext\n");
  FILE* opened = fopen(file.c_str(), "r");
  PathList list = FromInput(fileno(opened), '\n');
  EXPECT_EQ(std::string(65536, 'x'), list.Next()->path);
  EXPECT_EQ((Strings{"next"}), Rest(list));
  fclose(opened);
}

TEST(PathList, InputThatCannotBeReadIsAFailure) {
  const TempFolder folder;
  const auto opened = std::unique_ptr<FILE, int (*)(FILE*)>(fopen(folder.path().c_str(), "r"), fclose);
  PathList list = FromInput(fileno(opened.get()), '\n', {"-", "next"});
  EXPECT_EQ((Strings{"- (cannot read standard input: Is a directory)", "next"}), Rest(list));
}

TEST(PathList, InputEndsWhenAskedToStop) {
  Pipe input("one\n"), stop("");
  PathList::Source source;
  source.paths = {"-"};
  source.input = input.reader();
  source.stop = stop.reader();
  PathList list(source);
  EXPECT_EQ("one", list.Next()->path);
  EXPECT_EQ(1, write(stop.writer(), "", 1));
  EXPECT_EQ(std::nullopt, list.Next());
}

TEST(PathList, AnUnfinishedLineIsNoPathWhenAskedToStop) {
  Pipe input("one\ntw"), stop("");
  PathList::Source source;
  source.paths = {"-"};
  source.input = input.reader();
  source.stop = stop.reader();
  PathList list(source);
  EXPECT_EQ("one", list.Next()->path);
  EXPECT_EQ(1, write(stop.writer(), "", 1));
  EXPECT_EQ(std::nullopt, list.Next());
}

TEST(PathList, InputIsNotCollected) {
  Pipe input("one\n");
  PathList list = FromInput(input.reader(), '\n');
  list.CollectIfFinite();
  EXPECT_EQ(std::nullopt, list.total());
}

}  // namespace
}  // namespace mdtorrent
