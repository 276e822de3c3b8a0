// The host of the language model, one that leaves after so many milliseconds without work:  brief_model
// NUMBER. Or what looks like one until it is to load a model, when it crashes or has too little memory:
// brief_model crash, brief_model poor
#include "services/ipc/ModelMessages.h"
#include "services/ipc/Packet.h"
#include "services/model/Host.h"
#include "services/model/Library.h"

#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

using namespace vesto;

void say(const std::string& bytes) {
    static_cast<void>(ipc::sendPacket(model::socketNumber, bytes, {}, std::chrono::seconds(10)));
}

[[noreturn]] void pretend(bool isPoor) {
    say(ipc::encode(ipc::ModelGreeting{ipc::Jail::full, "moteur"}));
    static_cast<void>(ipc::waitReadable(model::socketNumber, std::chrono::seconds(10)));
    if (!isPoor)
        std::abort();
    say(ipc::encode(ipc::ModelReport(ipc::ModelLoaded{.outcome = ipc::ModelOutcome::noMemory})));
    ::sleep(10); // is ended before
    ::_exit(0);
}

} // namespace

int main(int count, char** words) {
    const std::string_view word = count == 2 ? words[1] : "";
    if (word == "crash" || word == "poor")
        pretend(word == "poor");
    if (count != 2 || !model::prepareHost() || !model::loadEngine())
        ::_exit(2);
    ::_exit(model::serve(model::socketNumber,
                         {.parent = ::getppid(), .idle = std::chrono::milliseconds(std::atoi(words[1]))}));
}
