// Which files are made, replaced, kept and removed, and what they take over from their sources.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "frame_builder.h"
#include "workspace.h"

namespace ozrz::test {
namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class Files : public Workspace {
  protected:
    struct stat statusOf(const std::string& name) const {
        struct stat status {};
        EXPECT_EQ(stat(path(name).c_str(), &status), 0) << name;
        return status;
    }

    // Runs the command without root's rights to go everywhere, while `name` has the given mode.
    Result ozrzAsOrdinaryUser(const std::vector<std::string>& arguments, const std::string& name, mode_t mode) const {
        EXPECT_EQ(chmod(path(".").c_str(), 0777), 0);
        EXPECT_EQ(chmod(path(name).c_str(), mode), 0);
        Setting setting;
        setting.beforeExec = [] {
            if (geteuid() == 0 && (setgid(kOtherGroup) != 0 || setuid(kOtherUser) != 0)) _exit(125);
        };
        const Result result = ozrz(arguments, setting);
        EXPECT_EQ(chmod(path(name).c_str(), 0777), 0);
        return result;
    }

    static constexpr uid_t kOtherUser = 4321;
    static constexpr gid_t kOtherGroup = 8765;
};

TEST_F(Files, ModeAndModificationTimeAreKept) {
    write("a", "hello");
    const timespec times[2] = {{1'000'000'000, 0}, {1'234'567'890, 123'456'789}};
    ASSERT_EQ(chmod(path("a").c_str(), 0751), 0);
    ASSERT_EQ(utimensat(AT_FDCWD, path("a").c_str(), times, 0), 0);
    ASSERT_EQ(ozrz({"a"}).exitCode, 0);
    EXPECT_EQ(statusOf("a.lz4").st_mode & 07777, 0751U);
    EXPECT_EQ(statusOf("a.lz4").st_mtim.tv_sec, 1'234'567'890);
    EXPECT_EQ(statusOf("a.lz4").st_mtim.tv_nsec, 123'456'789);

    ASSERT_EQ(ozrz({"-d", "a.lz4", "-o", "back"}).exitCode, 0);
    EXPECT_EQ(statusOf("back").st_mode & 07777, 0751U);
    EXPECT_EQ(statusOf("back").st_mtim.tv_sec, 1'234'567'890);
    EXPECT_EQ(statusOf("back").st_mtim.tv_nsec, 123'456'789);
}

TEST_F(Files, OwnerIsKeptWhereAllowed) {
    if (geteuid() != 0) GTEST_SKIP() << "only root may give files away";
    write("a", "hello");
    ASSERT_EQ(chown(path("a").c_str(), kOtherUser, kOtherGroup), 0);
    ASSERT_EQ(chmod(path("a").c_str(), 04755), 0);
    ASSERT_EQ(ozrz({"a"}).exitCode, 0);
    EXPECT_EQ(statusOf("a.lz4").st_uid, kOtherUser);
    EXPECT_EQ(statusOf("a.lz4").st_gid, kOtherGroup);
    EXPECT_EQ(statusOf("a.lz4").st_mode & 07777, 04755U);
}

TEST_F(Files, OtherUsersSourcesLendNoRights) {
    if (geteuid() != 0) GTEST_SKIP() << "needs root to become another user";
    write("a", "hello");
    const Result result = ozrzAsOrdinaryUser({"a"}, "a", 06755);
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(statusOf("a.lz4").st_uid, kOtherUser);
    EXPECT_EQ(statusOf("a.lz4").st_mode & 07777, 0755U);
}

TEST_F(Files, ResultOfStandardInputHasTheUsualMode) {
    const auto setMask = [] { umask(027); };
    const Result result = ozrz({"-o", "a.lz4"}, Setting{.directory = {}, .input = "hello", .beforeExec = setMask});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(statusOf("a.lz4").st_mode & 07777, 0640U);
}

TEST_F(Files, ExistingResultIsNotOverwritten) {
    write("a", "hello");
    write("a.lz4", "precious");
    const Result result = ozrz({"a"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.err, "ozrz: a.lz4: already exists; not overwritten (-f does it)\n");
    EXPECT_EQ(read("a.lz4"), "precious");
    EXPECT_THAT(names(), ElementsAre("a", "a.lz4"));
}

TEST_F(Files, VerboseTwiceTellsMore) {
    write("a", "hello");
    const std::string once = ozrz({"-v", "a"}).err;
    EXPECT_THAT(once, HasSubstr("a.lz4"));
    for (const auto& arguments : {std::vector<std::string>{"-fvv", "a"}, {"-f", "-v", "-v", "a"}}) {
        const Result twice = ozrz(arguments);
        EXPECT_EQ(twice.exitCode, 0) << twice.err;
        EXPECT_THAT(twice.err, HasSubstr(" s, "));
    }
}

TEST_F(Files, NamesDoNotMoveTheCursor) {
    const std::string name = "new\nline\x1b[1A";
    write(name, "hello");
    const Result result = ozrz({"-v", name});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.err, StartsWith("new?line?[1A: "));
    EXPECT_EQ(ozrz({name}).err, "ozrz: new?line?[1A.lz4: already exists; not overwritten (-f does it)\n");
    EXPECT_THAT(ozrz({"-l", name + ".lz4"}).out, EndsWith(" new?line?[1A.lz4\n"));
    EXPECT_EQ(read(name + ".lz4").empty(), false);
}

TEST_F(Files, ForceOverwrites) {
    write("a", "hello");
    write("a.lz4", "precious");
    ASSERT_EQ(ozrz({"-f", "a"}).exitCode, 0);
    EXPECT_EQ(ozrz({"-dc", "a.lz4"}).out, "hello");
    EXPECT_THAT(names(), ElementsAre("a", "a.lz4"));
}

TEST_F(Files, ForceWritesThroughALinkInTheWay) {
    write("a", "hello");
    write("elsewhere", "old");
    std::filesystem::create_symlink("elsewhere", path("a.lz4"));
    EXPECT_EQ(ozrz({"a"}).exitCode, 2);
    ASSERT_EQ(ozrz({"-f", "a"}).exitCode, 0);
    EXPECT_TRUE(std::filesystem::is_symlink(path("a.lz4")));
    EXPECT_EQ(ozrz({"-dc", "elsewhere"}).out, "hello");
}

TEST_F(Files, SourceCannotBeItsOwnResult) {
    write("a", "hello");
    const Result result = ozrz({"-f", "-o", "a", "a"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, HasSubstr("a: is the source itself"));
    EXPECT_EQ(read("a"), "hello");
}

TEST_F(Files, RmRemovesTheSourceAfterSuccess) {
    write("a", "hello");
    ASSERT_EQ(ozrz({"--rm", "a"}).exitCode, 0);
    EXPECT_THAT(names(), ElementsAre("a.lz4"));
    ASSERT_EQ(ozrz({"-d", "--rm", "a.lz4"}).exitCode, 0);
    EXPECT_THAT(names(), ElementsAre("a"));
    EXPECT_EQ(read("a"), "hello");
}

TEST_F(Files, KeepWinsOverRm) {
    write("a", "hello");
    ASSERT_EQ(ozrz({"--rm", "-k", "a"}).exitCode, 0);
    EXPECT_THAT(names(), ElementsAre("a", "a.lz4"));
}

TEST_F(Files, RmKeepsDamagedAndDoubtfulSources) {
    write("damaged.lz4", compressed("hello").substr(0, 12));
    write("doubtful.lz4", compressed("hello") + "garbage");
    EXPECT_EQ(ozrz({"-d", "--rm", "doubtful.lz4"}).exitCode, 2);
    EXPECT_EQ(ozrz({"-d", "--rm", "damaged.lz4"}).exitCode, 1);
    EXPECT_THAT(names(), ElementsAre("damaged.lz4", "doubtful", "doubtful.lz4"));
    EXPECT_EQ(read("doubtful"), "hello");
}

TEST_F(Files, RmNeedsAResultInAFile) {
    write("a", "hello");
    const Result result = ozrz({"--rm", "-c", "a"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(exists("a"));
}

TEST_F(Files, MissingFileIsAnErrorAndTheOthersAreDone) {
    write("b", "hello");
    const Result result = ozrz({"a", "b"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "ozrz: a: cannot open: No such file or directory\n");
    EXPECT_THAT(names(), ElementsAre("b", "b.lz4"));
}

TEST_F(Files, DirectoriesLinksAndPipesAreSkipped) {
    std::filesystem::create_directory(path("directory"));
    write("file", "hello");
    std::filesystem::create_symlink("file", path("link"));
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);

    Result result = ozrz({"directory", "link", "pipe", "/dev/zero"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.err, HasSubstr("directory: is a directory; skipped"));
    EXPECT_THAT(result.err, HasSubstr("link: is a symbolic link; skipped"));
    EXPECT_THAT(result.err, HasSubstr("pipe: is not a regular file; skipped"));
    EXPECT_THAT(result.err, HasSubstr("/dev/zero: is not a regular file; skipped"));
    EXPECT_THAT(names(), ElementsAre("directory", "file", "link", "pipe"));

    EXPECT_EQ(ozrz({"-f", "pipe"}).exitCode, 2);
    ASSERT_EQ(ozrz({"-f", "link"}).exitCode, 0);
    EXPECT_EQ(ozrz({"-dc", "link.lz4"}).out, "hello");
    EXPECT_EQ(ozrz({"-dc"}, ozrz({"-c", "link"}).out).out, "hello");
}

TEST_F(Files, CompressedFilesAreNotCompressedAgain) {
    write("a", "hello");
    ASSERT_EQ(ozrz({"a"}).exitCode, 0);
    const Result result = ozrz({"a.lz4"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.err, HasSubstr("a.lz4: already has the suffix .lz4; skipped"));
    EXPECT_THAT(names(), ElementsAre("a", "a.lz4"));
    EXPECT_EQ(ozrz({"-f", "a.lz4"}).exitCode, 0);
    EXPECT_TRUE(exists("a.lz4.lz4"));
}

TEST_F(Files, NameWithoutSuffixNeedsATarget) {
    write("strange", compressed("hello"));
    const Result result = ozrz({"-d", "strange"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.err, HasSubstr("strange: has no known suffix to take off; skipped"));
    EXPECT_EQ(ozrz({"-dc", "strange"}).out, "hello");
    ASSERT_EQ(ozrz({"-d", "strange", "-o", "target"}).exitCode, 0);
    EXPECT_EQ(read("target"), "hello");
}

TEST_F(Files, OutputTakesOneSource) {
    write("a", "1");
    write("b", "2");
    const Result result = ozrz({"-o", "c.lz4", "a", "b"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, HasSubstr("-o takes the result of one file"));
    EXPECT_THAT(names(), ElementsAre("a", "b"));
}

TEST_F(Files, DevicesAreWrittenToAndStay) {
    write("a", "hello");
    ASSERT_EQ(ozrz({"-o", "/dev/null", "a"}).exitCode, 0);
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
}

TEST_F(Files, TargetInAMissingDirectoryIsAnError) {
    write("a", "hello");
    const Result result = ozrz({"-o", "missing/a.lz4", "a"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "ozrz: missing/a.lz4: cannot create: No such file or directory\n");
}

TEST_F(Files, UnwritableDirectoryIsAnError) {
    std::filesystem::create_directory(path("closed"));
    write("closed/a", "hello");
    const Result result = ozrzAsOrdinaryUser({"closed/a"}, "closed", 0555);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "ozrz: closed/a.lz4: cannot create: Permission denied\n");
}

TEST_F(Files, UnreadableSourceIsAnError) {
    write("a", "hello");
    const Result result = ozrzAsOrdinaryUser({"a"}, "a", 0);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "ozrz: a: cannot open: Permission denied\n");
}

TEST_F(Files, LongNamesWork) {
    const std::string name(250, 'n');
    write(name, "hello");
    ASSERT_EQ(ozrz({name}).exitCode, 0);
    EXPECT_EQ(ozrz({"-dc", name + ".lz4"}).out, "hello");
    const std::string tooLong(252, 'n');
    write(tooLong, "hello");
    const Result result = ozrz({tooLong});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, HasSubstr("File name too long"));
    EXPECT_FALSE(exists("." + tooLong));
    EXPECT_EQ(names().size(), 3U);
}

TEST_F(Files, FormatFollowsMagicBeforeSuffix) {
    write("wrong.txt.gz", compressed("hello"));
    EXPECT_EQ(ozrz({"-dc", "wrong.txt.gz"}).out, "hello");
    write("not.lz4", "this is no frame");
    const Result result = ozrz({"-d", "not.lz4"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "ozrz: not.lz4: not an LZ4 file\n");
    EXPECT_FALSE(exists("not"));
}

TEST_F(Files, UnknownFormatNameIsAnError) {
    const Result result = ozrz({"-F", "nonsense"}, std::string("hello"));
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, HasSubstr("there is no format \"nonsense\"; there are: lz4, gzip, bzip2, "));
}

TEST_F(Files, ClosedStandardStreamsDoNotCorruptFiles) {
    write("a", "hello");
    const auto closeAll = [] {
        close(0);
        close(1);
        close(2);
    };
    EXPECT_EQ(ozrz({"-v", "a", "missing"}, Setting{.directory = {}, .input = {}, .beforeExec = closeAll}).exitCode, 1);
    EXPECT_EQ(ozrz({"-dc", "a.lz4"}).out, "hello");
    EXPECT_EQ(read("a"), "hello");
}

}  // namespace
}  // namespace ozrz::test
