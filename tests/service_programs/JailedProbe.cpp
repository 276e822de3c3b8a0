/// The real service with the real jail around a child that does what the file's name says instead of reading
/// it. `--time` is how many seconds one of the route `audio` has, so that what hangs is soon ended and
/// nothing else is.
#include "services/ipc/Answer.h"
#include "services/reader/Server.h"
#include "services/reader/Start.h"
#include "services/reader/Work.h"
#include "tests/services/support/Escapes.h"

#include <fcntl.h>
#include <time.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <string_view>
#include <thread>

using namespace vesto;

namespace {

constexpr std::string_view optionOf(int argc, char** argv, std::string_view name) {
    for (int i = 1; i < argc; ++i)
        if (std::string_view(argv[i]).starts_with(name))
            return std::string_view(argv[i]).substr(name.size());
    return {};
}

int numberOf(std::string_view text, int otherwise) {
    return text.empty() ? otherwise : std::atoi(std::string(text).c_str());
}

/// "name errno" for each way out.
std::vector<std::string> triedEscapes(int file) {
    std::vector<std::string> lines;
    for (const tests::Escape& escape : tests::escapes())
        lines.push_back(std::string(escape.name) + ' ' + std::to_string(escape.attempt(file)));
    return lines;
}

/// The numbers of what is open, but for the file and the pipe.
std::vector<std::string> openDescriptors(int file, int answer) {
    std::vector<std::string> lines;
    for (int fd = 0; fd < 65536; ++fd)
        if (fd != file && fd != answer && ::fcntl(fd, F_GETFD) >= 0)
            lines.push_back(std::to_string(fd));
    return lines;
}

std::vector<std::string> memoryUntilRefused() {
    constexpr std::size_t piece = std::size_t{16} << 20;
    std::size_t total = 0;
    std::vector<void*> held;
    while (total < (std::size_t{4} << 30)) {
        held.push_back(std::malloc(piece));
        if (held.back() == nullptr)
            break;
        total += piece;
    }
    for (void* memory : held)
        std::free(memory);
    return {std::to_string(total >> 20)};
}

[[noreturn]] void spin() {
    volatile unsigned turns = 0;
    for (;;)
        turns = turns + 1;
}

void sleepFor(std::chrono::milliseconds time) {
    const timespec wanted{time.count() / 1000, time.count() % 1000 * 1'000'000};
    ::nanosleep(&wanted, nullptr);
}

int work(const ipc::Question& question, int file, int answer, bool warm) {
    const std::string_view name = question.fileName;
    Reading reading;
    auto& lines = reading.summary.lines;
    if (name == "escapes")
        lines = triedEscapes(file);
    else if (name == "descriptors")
        lines = openDescriptors(file, answer);
    else if (name == "memory")
        lines = memoryUntilRefused();
    else if (name == "crash")
        __builtin_trap();
    else if (name == "partial") {
        reader::writeAll(answer, ipc::encodeAnswer(reading).substr(0, 9));
        __builtin_trap();
    } else if (name == "hang")
        sleepFor(std::chrono::hours(1));
    else if (name == "rubbish, then spin" || name == "answer, then spin") {
        lines = {"said"};
        reader::writeAll(answer, name[0] == 'r' ? std::string(64, '\xFF') : ipc::encodeAnswer(reading));
        ::close(answer);
        spin();
    } else if (name == "spin")
        spin();
    else if (name == "thread")
        std::jthread([&] { lines = {"thread"}; }).join();
    else if ((name == "cold" && !warm) || name == "always cold")
        ::_exit(reader::coldStatus);
    if (lines.empty())
        lines = {warm ? "warm" : "cold"};
    reader::writeAll(answer, ipc::encodeAnswer(reading));
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (!reader::prepareProcess())
        return 2;
    const int seconds = numberOf(optionOf(argc, argv, "--time="), 60);
    const reader::ServerSettings settings{
        .work = work,
        .loadReaders = [](Route) {},
        .warmRecognition = [](const auto&) {},
        .warmOtherLanguages = [](const auto&) {},
        .limits =
            [&](Route route) {
                auto limits = ipc::limitsOf(route);
                limits.time = std::chrono::seconds(route == Route::audio ? seconds : 60);
                return limits;
            },
        .idle = std::chrono::milliseconds(numberOf(optionOf(argc, argv, "--idle="), 60'000)),
    };
    reader::leave(reader::serve(reader::socketNumber, settings));
}
