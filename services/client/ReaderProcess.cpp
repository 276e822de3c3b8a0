#include "services/client/ReaderProcess.h"

#include "core/support/Text.h"
#include "services/ipc/Packet.h"

namespace vesto {
namespace {

constexpr std::chrono::seconds greetingTimeout{30}; // of a cold start on a busy machine

} // namespace

std::string_view messageOf(ReaderStartFailure failure) {
    switch (failure) {
    case ReaderStartFailure::programMissing:
        return text("le programme « vesto-reader » est introuvable. Réinstallez Vesto.");
    case ReaderStartFailure::notStarted:
        return text("le système a refusé de le lancer.");
    case ReaderStartFailure::noAnswer:
        return text("il n'a pas répondu comme attendu. Si Vesto vient d'être mis à jour, relancez-le.");
    case ReaderStartFailure::jailRefused:
        return text("ce système (un conteneur ?) lui interdit de s'isoler, et sans cela aucun fichier n'est "
                    "lu.");
    case ReaderStartFailure::noSeccomp:
        return text("ce noyau ne sait pas filtrer les appels système (seccomp), et sans cela "
                    "aucun fichier n'est lu.");
    }
    return {};
}

std::filesystem::path readerProgram() {
    return serviceProgram("vesto-reader");
}

std::expected<std::shared_ptr<ReaderProcess>, ReaderStartFailure>
ReaderProcess::start(const std::filesystem::path& program, const std::vector<std::string>& arguments) {
    // One thread, where only the environment is early enough: Tesseract's threads spin against each other,
    // and OpenBLAS starts its own when it is loaded.
    auto process =
        ServiceProcess::start(program, arguments, {"OMP_THREAD_LIMIT=1", "OPENBLAS_NUM_THREADS=1"});
    if (!process)
        return std::unexpected(process.error() == ServiceProcess::Failure::programMissing
                                   ? ReaderStartFailure::programMissing
                                   : ReaderStartFailure::notStarted);
    std::shared_ptr<ReaderProcess> result(new ReaderProcess(*std::move(process)));

    auto failure = ipc::PacketFailure::none;
    if (!ipc::waitReadable(result->socket(), greetingTimeout))
        return std::unexpected(ReaderStartFailure::noAnswer);
    const auto packet = ipc::receivePacket(result->socket(), ipc::Greeting::maxBytes, 0, failure);
    const auto greeting = packet ? ipc::decodeGreeting(packet->bytes) : std::nullopt;
    if (!greeting)
        return std::unexpected(ReaderStartFailure::noAnswer);
    if (greeting->jail == ipc::Jail::none)
        return std::unexpected(ReaderStartFailure::noSeccomp);
    if (greeting->jail == ipc::Jail::refused)
        return std::unexpected(ReaderStartFailure::jailRefused);
    result->m_jail = greeting->jail;
    return result;
}

} // namespace vesto
