/// A service that has been taken over: it speaks the first packet as its argument says and answers each
/// question as the file's name says.
#include "services/ipc/Answer.h"
#include "services/ipc/Packet.h"
#include "services/ipc/Question.h"

#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <string>
#include <string_view>
#include <vector>

using namespace vesto;

namespace {

constexpr int socketNumber = 3;

std::string reading() {
    Reading reading;
    reading.summary.lines = {"lu"};
    return ipc::encodeAnswer(reading);
}

bool write(int fd, std::string_view bytes) {
    return ::write(fd, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
}

void answer(std::string_view name, ipc::Packet packet, std::vector<UniqueFd>& kept) {
    using namespace std::string_literals;
    const int out = packet.descriptors[1].get();
    if (name == "lu")
        write(out, reading());
    else if (name == "garbage")
        write(out, std::string(5000, '\xA5'));
    else if (name == "truncated")
        write(out, reading().substr(0, 20));
    else if (name == "trailing")
        write(out, reading() + "x");
    else if (name == "twice")
        write(out, reading() + reading());
    else if (name == "enormous")
        write(out, "\2\xFF\xFF\xFF\xFF"s);
    else if (name == "flood")
        for (write(out, "\2\0\0\x80\0"s); write(out, std::string(65536, '\0'));) {
        }
    else if (name == "stages")
        while (write(out, ipc::encodeStage(ReadingStage::classifying))) {
        }
    else if (name == "preview")
        write(out, ipc::encodeAnswer(Preview{1, 1, {1, 2, 3, 4}}));
    else if (name == "silent")
        kept.push_back(std::move(packet.descriptors[1]));
    else if (name == "dies")
        ::_exit(9);
    else if (name == "leaves")
        ::_exit(0);
}

} // namespace

int main(int argc, char** argv) {
    ::signal(SIGPIPE, SIG_IGN);
    const std::string_view mode = argc > 1 ? argv[1] : "";
    std::string greeting = ipc::encode(ipc::Greeting{mode == "none" ? ipc::Jail::none : ipc::Jail::reduced});
    if (mode == "exits")
        return 0;
    if (mode == "garbage")
        greeting = "bonjour";
    if (mode == "longGreeting")
        greeting += std::string(100, 'x');
    if (!ipc::sendPacket(socketNumber, greeting, {}, std::chrono::seconds(1)))
        return 1;
    std::vector<UniqueFd> kept;
    for (;;) {
        pollfd entry{socketNumber, POLLIN, 0};
        ::poll(&entry, 1, -1);
        auto failure = ipc::PacketFailure::none;
        auto packet = ipc::receivePacket(socketNumber, ipc::Question::maxBytes, 2, failure);
        if (!packet)
            return 0;
        const auto question = ipc::decodeQuestion(packet->bytes);
        if (question && packet->descriptors.size() == 2)
            answer(question->fileName, *std::move(packet), kept);
    }
}
