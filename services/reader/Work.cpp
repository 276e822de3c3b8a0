#include "services/reader/Work.h"

#include "core/extraction/DocumentPeriodExtractor.h"
#include "core/extraction/Route.h"
#include "core/extraction/Summarizer.h"
#include "core/extraction/readers/LocalReader.h"
#include "services/ipc/Answer.h"
#include "services/ipc/ReadingLimits.h"
#include "services/reader/Server.h"
#include "services/reader/modules/Modules.h"

#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>

namespace vesto::reader {
namespace {

ipc::Failure failureOf(const SummarizerError& error) {
    return std::holds_alternative<SummarizerError::Locked>(error.value()) ? ipc::Failure::locked
                                                                          : ipc::Failure::unreadable;
}

template <typename Value> ipc::Answer answerOf(std::expected<Value, SummarizerError> outcome) {
    if (!outcome)
        return failureOf(outcome.error());
    return *std::move(outcome);
}

} // namespace

void writeAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(fd, bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR)
            ::_exit(1);
        bytes.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
    }
}

int answerQuestion(const ipc::Question& question, int file, int answer, bool warm) {
    // Four fifths of the time: recognition looks at its watch between words.
    const auto lastMoment = std::chrono::steady_clock::now() + ipc::limitsOf(question.route).time * 4 / 5;
    const ReadRequest request{.fd = file,
                              .path = question.fileName,
                              .type = {question.type},
                              .route = question.route,
                              .bestDate = question.bestDate,
                              .onStage =
                                  [&](ReadingStage stage) {
                                      if (stage == ReadingStage::recognizingText && !warm)
                                          ::_exit(coldStatus);
                                      writeAll(answer, ipc::encodeStage(stage));
                                  },
                              .lastMoment = lastMoment};
    const SummarizerSettings settings(question.recognitionLanguages);
    readers::LocalReader reader;
    const ipc::Answer result = question.about == ipc::Question::About::summary
                                   ? answerOf(reader.read(request, settings))
                                   : answerOf(reader.preview(request));
    writeAll(answer, ipc::encodeAnswer(result));
    return neededOtherLanguages() ? otherLanguagesStatus : 0;
}

void warmCore() {
    ::tzset();
    static_cast<void>(routeOfExtension("pdf")); // the table of types
    static_cast<void>(DocumentPeriodExtractor::extract(
        "Facture d'électricité, octobre 2026, du 01/10/2026 au 31/10/2026", true));
}

} // namespace vesto::reader
