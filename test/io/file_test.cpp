// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/File.hpp"
#include "test/scratch_dir.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/auxv.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <sstream>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace
{

/** What the storage was told, in its order, and what it answers. */
struct Storage
{
    std::vector<std::string> told;
    int fileError{0};
    int folderError{0};
};

Storage storage;
/** Who has had his turn brings the folder to the storage in the next one's. */
std::mutex telling;

} // namespace

// Instead of the C library's, to see what comes in which order and to fail.
extern "C" int fsync(int fd)
{
    struct stat status = {};
    const bool isFolder = fstat(fd, &status) == 0 && S_ISDIR(status.st_mode);
    const std::lock_guard lock(telling);
    storage.told.emplace_back(isFolder ? "folder" : "file");
    const int error = isFolder ? storage.folderError : storage.fileError;
    errno = error;
    return error == 0 ? 0 : -1;
}

extern "C" int rename(const char* from, const char* to) noexcept
{
    const std::lock_guard lock(telling);
    storage.told.emplace_back("rename");
    return static_cast<int>(
        syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0));
}

namespace
{

namespace fs = std::filesystem;
using io::FileTurn;
using io::replaceFile;

class Files : public testing::Test
{
  protected:
    ScratchDir dir;
    const std::string path = dir.path() / "file";
    const std::string beside = path + ".new";

    static void put(const std::string& where, const std::string& text)
    {
        std::ofstream(where) << text;
    }

    static std::string contentOf(const std::string& where)
    {
        std::ostringstream text;
        text << std::ifstream(where).rdbuf();
        return text.str();
    }

    static mode_t modeOf(const std::string& where)
    {
        struct stat status = {};
        EXPECT_EQ(lstat(where.c_str(), &status), 0);
        return status.st_mode & 07777;
    }

    std::size_t count() const
    {
        const auto entries = fs::directory_iterator(dir.path());
        return static_cast<std::size_t>(
            std::distance(fs::begin(entries), fs::end(entries)));
    }

    void write(const std::string& text) const
    {
        FileTurn(path).write(text);
    }
};

/** The errno of an error that is expected. */
template <typename Action>
int errorOf(const Action& action)
{
    try
    {
        action();
    }
    catch (const std::system_error& failure)
    {
        return failure.code().value();
    }
    return 0;
}

TEST_F(Files, replaceAndNeverFollow)
{
    const fs::path victim = dir.path() / "victim";
    put(victim, "old");
    fs::create_symlink(victim, path);
    replaceFile(path, "new");
    EXPECT_EQ(contentOf(victim), "old");
    EXPECT_EQ(contentOf(path), "new");
    EXPECT_FALSE(fs::is_symlink(path));
    EXPECT_EQ(modeOf(path), mode_t{0600});
    EXPECT_EQ(count(), 2U);
}

TEST_F(Files, leaveNothingWhenReplacingFails)
{
    fs::create_directories(path + "/full");
    EXPECT_EQ(errorOf([this] { replaceFile(path, "new"); }), EISDIR);
    EXPECT_EQ(errorOf([this] { replaceFile(path + "/none/x", "new"); }),
              ENOENT);
    EXPECT_EQ(count(), 1U);
}

TEST_F(Files, areWrittenWholeInATurn)
{
    put(path, std::string(1000, ' '));
    write("new");
    EXPECT_EQ(contentOf(path), "new");
    write("");
    EXPECT_EQ(contentOf(path), "");
    EXPECT_EQ(count(), 1U);
}

TEST_F(Files, areOnTheStorageBeforeTheyHaveTheirName)
{
    storage = {};
    replaceFile(path, "new");
    EXPECT_EQ(storage.told, (std::vector<std::string>{"file", "rename"}));
    storage = {};
    write("newer");
    EXPECT_EQ(storage.told,
              (std::vector<std::string>{"file", "rename", "folder"}));
    storage = {};
}

TEST_F(Files, keepTheirContentWhereTheStorageFails)
{
    put(path, "old");
    storage = {.told = {}, .fileError = EIO, .folderError = 0};
    EXPECT_EQ(errorOf([this] { replaceFile(path, "new"); }), EIO);
    EXPECT_EQ(errorOf([this] { write("new"); }), EIO);
    EXPECT_EQ(contentOf(path), "old");
    EXPECT_EQ(count(), 1U);
    // Not every file system can bring a folder to the storage.
    storage = {.told = {}, .fileError = 0, .folderError = EINVAL};
    write("new");
    storage.folderError = EIO;
    EXPECT_EQ(errorOf([this] { write("newer"); }), EIO);
    storage = {};
}

TEST_F(Files, areNotReplacedByHalfOfThem)
{
    put(path, "old");
    rlimit usual{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &usual), 0);
    const rlimit tight{4, usual.rlim_max};
    std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &tight), 0);
    const int replaced = errorOf([this] { replaceFile(path, "longer"); });
    const int written = errorOf([this] { write("longer"); });
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &usual), 0);
    std::signal(SIGXFSZ, SIG_DFL);
    EXPECT_EQ(replaced, EFBIG);
    EXPECT_EQ(written, EFBIG);
    EXPECT_EQ(contentOf(path), "old");
    EXPECT_EQ(count(), 1U);
}

TEST_F(Files, keepTheirMode)
{
    write("new");
    EXPECT_EQ(modeOf(path), mode_t{0644});
    ASSERT_EQ(chmod(path.c_str(), 0640), 0);
    write("newer");
    EXPECT_EQ(modeOf(path), mode_t{0640});
}

TEST_F(Files, areReachedThroughLinks)
{
    const fs::path target = dir.path() / "target";
    fs::create_symlink("target", dir.path() / "middle");
    fs::create_symlink(dir.path() / "middle", path);
    for (const char* text : {"new", "newer"})
    {
        write(text);
        EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(target)));
        EXPECT_TRUE(fs::is_symlink(path));
        EXPECT_EQ(contentOf(target), text);
    }
    EXPECT_EQ(count(), 3U);
}

TEST_F(Files, thatAreNoneAreNotReplaced)
{
    fs::create_directory(path);
    EXPECT_EQ(errorOf([this] { write("new"); }), EISDIR);
    fs::remove(path);
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(errorOf([this] { write("new"); }), ENXIO);
    const io::Descriptor reader(open(path.c_str(), O_RDONLY | O_NONBLOCK));
    EXPECT_THROW(write("new"), std::runtime_error);
    fs::remove(path);
    fs::create_symlink(path, path);
    EXPECT_EQ(errorOf([this] { write("new"); }), ELOOP);
    EXPECT_EQ(count(), 1U);
}

TEST_F(Files, inNoFolderHaveNoTurn)
{
    EXPECT_EQ(errorOf([this] { FileTurn(path + "/none/x"); }), ENOENT);
}

TEST_F(Files, keepTheirContentWhenATurnIsNotUsed)
{
    put(path, "old");
    {
        const FileTurn turn(path);
        EXPECT_EQ(modeOf(beside), mode_t{0600});
    }
    EXPECT_EQ(contentOf(path), "old");
    EXPECT_EQ(count(), 1U);
}

TEST_F(Files, haveOneTurnAtATime)
{
    FileTurn turn(path);
    EXPECT_EQ(
        errorOf([this] { FileTurn(path, std::chrono::milliseconds(20)); }),
        ETIMEDOUT);
    turn.write("new");
    EXPECT_EQ(contentOf(path), "new");
}

TEST_F(Files, countEachOfManyTurns)
{
    put(path, "");
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
    {
        threads.emplace_back(
            [this]
            {
                for (int turns = 0; turns < 25; ++turns)
                {
                    FileTurn turn(path);
                    turn.write(contentOf(path) + "x");
                }
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    EXPECT_EQ(contentOf(path), std::string(200, 'x'));
    EXPECT_EQ(count(), 1U);
}

TEST_F(Files, takeOverWhatACrashLeft)
{
    put(beside, "a long text of which half was written");
    write("new");
    EXPECT_EQ(contentOf(path), "new");
    EXPECT_EQ(count(), 1U);
}

TEST_F(Files, areReadWholeUpToABound)
{
    constexpr std::size_t bound = std::size_t{1} << 20;
    const auto read = [this] {
        return io::readAll(io::Descriptor(open(path.c_str(), O_RDONLY)), bound);
    };
    put(path, std::string(bound, 'a'));
    EXPECT_EQ(read().size(), bound);
    put(path, std::string(bound + 1, 'a'));
    EXPECT_THROW(read(), std::length_error);
    fs::remove(path);
    fs::create_directory(path);
    EXPECT_THROW(read(), std::runtime_error);
}

TEST(Descriptor, isClosedAtItsEndWhoeverHasIt)
{
    const int number = open("/dev/null", O_RDONLY | O_CLOEXEC);
    ASSERT_GE(number, 0);
    {
        io::Descriptor last;
        {
            io::Descriptor first(number);
            last = std::move(first);
        }
        EXPECT_EQ(last.number(), number);
        EXPECT_NE(fcntl(number, F_GETFD), -1);
    }
    EXPECT_EQ(fcntl(number, F_GETFD), -1);
    EXPECT_EQ(errno, EBADF);
}

TEST(Executable, isThisTest)
{
    const auto* const started =
        reinterpret_cast<const char*>(getauxval(AT_EXECFN));
    EXPECT_EQ(io::executablePath(), std::filesystem::canonical(started));
}

} // namespace
