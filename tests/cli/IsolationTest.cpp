#include "tests/cli/Program.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>

namespace vesto::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

/// Makes this process live on a kernel that does not have one system call.
void forget(unsigned call) {
    sock_filter program[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog filter{static_cast<unsigned short>(std::size(program)), program};
    ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter);
}

TEST(Isolation, NothingIsReadWithoutAFilterOfSystemCalls) {
    const Folder folder;
    const std::string file = folder.write("scan0001.txt", "Bail du moulin\nentre les soussignés\n");
    for (const char* verb : {"read", "name", "rename"}) {
        const RunResult run = runVesto({verb, file}, {}, nullptr, [] { forget(SYS_seccomp); });
        EXPECT_EQ(run.status, 1);
        EXPECT_THAT(run.out, IsEmpty());
        EXPECT_THAT(run.err, HasSubstr("seccomp"));
    }
    EXPECT_EQ(folder.names(), std::vector<std::string>{"scan0001.txt"});
    // What reads no file needs no jail.
    EXPECT_EQ(runVesto({"generic", "IMG_0042"}, {}, nullptr, [] { forget(SYS_seccomp); }).status, 0);
}

TEST(Isolation, SaysHowWellFilesAreShutInAndWhatItDoes) {
    const Folder folder;
    const std::string file = folder.write("scan0001.txt", "Bail du moulin\n");
    const RunResult run = runVesto({"read", "-v", file});
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.err, HasSubstr("isolation complète"));
    EXPECT_THAT(run.err, HasSubstr("scan0001.txt : lecture"));
    EXPECT_THAT(runVesto({"read", file}).err, IsEmpty());

    const RunResult reduced =
        runVesto({"read", "-v", file}, {}, nullptr, [] { forget(SYS_landlock_create_ruleset); });
    EXPECT_EQ(reduced.status, 0);
    EXPECT_THAT(reduced.err, HasSubstr("isolation réduite"));
    EXPECT_EQ(reduced.out, run.out);
}

TEST(Isolation, NothingIsReadWhereTheReaderIsMissing) {
    const Folder folder;
    const std::string file = folder.write("scan0001.txt", "Bail du moulin\n");
    const std::filesystem::path program = folder.path() / "vesto";
    std::filesystem::copy_file(VESTO_PROGRAM, program);
    const RunResult run = runVesto({"read", file}, {}, nullptr, [&] {
        std::string words[] = {"vesto", "read", file};
        char* const pointers[] = {words[0].data(), words[1].data(), words[2].data(), nullptr};
        ::dup2(::open((folder.path() / "err").c_str(), O_CREAT | O_WRONLY, 0600), STDERR_FILENO);
        ::execv(program.c_str(), pointers);
    });
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.out, Not(HasSubstr("moulin")));
    EXPECT_THAT(contentOf(folder.path() / "err"), HasSubstr("Le lecteur isolé n'a pas pu démarrer"));
}

} // namespace
} // namespace vesto::test
