// The platform layer: the freedesktop.org trash (HOME in a temporary folder),
// and the order in which the environment names the config folder. File times
// and Macintosh dates show in the survey report, JSON and command line tests.

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "helpers/scratch_dir.h"
#include "platform/config_dir.h"
#include "platform/trash.h"

namespace ferrox {
namespace {

namespace fs = std::filesystem;
using testing::ReadAll;

class TrashTest : public ::testing::Test {
 protected:
  void SetUp() override {
    fs::create_directories(home_);
    fs::create_directories(work_);
    ::setenv("HOME", home_.c_str(), 1);
    ::unsetenv("XDG_DATA_HOME");
  }

  // The file lies in a trash's files/ folder with a .trashinfo beside it naming where it came from.
  static void ExpectInTrash(const TrashResult& r, const fs::path& original, const std::string& text) {
    ASSERT_TRUE(r.ok) << original;
    const fs::path trashed = r.trashPath;
    ASSERT_TRUE(trashed.is_absolute()) << trashed;
    EXPECT_FALSE(fs::exists(original));
    EXPECT_EQ(trashed.parent_path().filename(), "files");
    EXPECT_EQ(ReadAll(trashed), text);
    const std::string info =
        ReadAll(trashed.parent_path().parent_path() / "info" / (trashed.filename().string() + ".trashinfo"));
    EXPECT_EQ(info.rfind("[Trash Info]\n", 0), 0u) << info;
    EXPECT_NE(info.find("DeletionDate="), std::string::npos) << info;
    EXPECT_NE(info.find(original.filename().string()), std::string::npos) << info;
  }

  testing::ScratchDir temp_;
  std::string home_ = temp_.Path().string() + "/home";
  std::string work_ = temp_.Path().string() + "/work";
};

TEST_F(TrashTest, MissingDataFolderIsCreatedNotTheCurrentFolder) {
  ASSERT_FALSE(fs::exists(home_ + "/.local/share"));
  const fs::path cwd = fs::current_path();
  fs::current_path(work_);
  const fs::path file = temp_.Write("report.txt", "old output");
  const TrashResult r = TrashDelete(file.string());
  fs::current_path(cwd);
  ExpectInTrash(r, file, "old output");
  EXPECT_EQ(r.trashPath.rfind(home_ + "/.local/share/Trash/files/", 0), 0u) << r.trashPath;
  EXPECT_TRUE(fs::is_empty(work_));
  EXPECT_FALSE(TrashDelete("").ok);
  EXPECT_FALSE(TrashDelete(work_ + "/no such file").ok);
}

TEST_F(TrashTest, XdgDataHomeAndTheSameNameTwice) {
  const std::string data = temp_.Path().string() + "/data/not/yet";
  ::setenv("XDG_DATA_HOME", data.c_str(), 1);
  const TrashResult first = TrashDelete(temp_.Write("a b.txt", "1"));
  const TrashResult second = TrashDelete(temp_.Write("a b.txt", "2"));
  ExpectInTrash(first, temp_.Path() / "a b.txt", "1");
  ExpectInTrash(second, temp_.Path() / "a b.txt", "2");
  EXPECT_NE(first.trashPath, second.trashPath);
  EXPECT_EQ(first.trashPath.rfind(data + "/Trash/files/", 0), 0u) << first.trashPath;
}

TEST_F(TrashTest, FileOnAnotherFileSystem) {
  // /dev/shm is a tmpfs on most systems: a different device from the home folder.
  struct stat home {}, shm {};
  if (::stat(home_.c_str(), &home) != 0 || ::stat("/dev/shm", &shm) != 0 || home.st_dev == shm.st_dev ||
      ::access("/dev/shm", W_OK) != 0) {
    GTEST_SKIP() << "no writable second file system";
  }
  const std::string topTrash = "/dev/shm/.Trash-" + std::to_string(::getuid());
  const bool hadTopTrash = fs::exists(topTrash);
  const fs::path file = "/dev/shm/ferrox-trash-test-" + std::to_string(::getpid());
  std::ofstream(file) << "far away";
  const TrashResult r = TrashDelete(file.string());
  ExpectInTrash(r, file, "far away");
  std::error_code ec;  // leave the shared file system as it was
  fs::remove(file, ec);
  if (!r.ok) return;
  const fs::path trashed = r.trashPath;
  fs::remove(trashed.parent_path().parent_path() / "info" / (trashed.filename().string() + ".trashinfo"), ec);
  fs::remove(trashed, ec);
  if (!hadTopTrash) fs::remove_all(topTrash, ec);
}

TEST(ConfigDir, EnvironmentOrder) {
  const std::tuple<const char*, const char*, const char*, const char*> cases[] = {
      {"/f/dir", "/x", "/h", "/f/dir"}, {"/f/dir/", "/x", "/h", "/f/dir"},   {"", "/x", "/h", "/x/Ferrox"},
      {nullptr, "/x/", "/h", "/x/Ferrox"}, {nullptr, nullptr, "/h", "/h/.config/Ferrox"},
      {nullptr, "", "/h/", "/h/.config/Ferrox"},
  };
  const auto set = [](const char* name, const char* value) {
    value != nullptr ? ::setenv(name, value, 1) : ::unsetenv(name);
  };
  for (const auto& [ferrox, xdg, home, expected] : cases) {
    set("FERROX_CONFIG_DIR", ferrox);
    set("XDG_CONFIG_HOME", xdg);
    set("HOME", home);
    EXPECT_EQ(ConfigDir(), expected);
  }
  testing::ScratchDir temp;
  const std::string nested = temp.Path().string() + "/a/b";
  set("FERROX_CONFIG_DIR", nested.c_str());
  EXPECT_EQ(EnsureConfigDir(), nested);
  EXPECT_TRUE(fs::is_directory(nested));
}

}  // namespace
}  // namespace ferrox
