#include "core/extraction/Summarizer.h"

#include "core/extraction/FileDates.h"
#include "core/extraction/Transcription.h"
#include "core/extraction/TypeRegistry.h"
#include "core/files/FileName.h"
#include "core/naming/GenericNameDetector.h"
#include "core/support/Assert.h"
#include "core/support/Clock.h"
#include "core/support/Unicode.h"
#include "core/support/UniqueFd.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace vesto {
namespace {

/// The last component of a path; unlike path::filename() it copies nothing.
std::string_view fileNameOf(const std::filesystem::path& path) {
    const std::string_view whole = path.native();
    const std::size_t slash = whole.rfind('/');
    return slash == std::string_view::npos ? whole : whole.substr(slash + 1);
}

/// A descriptor of a regular file, or none. A pipe or a device is not even opened, since that alone can act
/// on it.
UniqueFd openRegular(const std::filesystem::path& path) {
    struct stat status{};
    if (::lstat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode))
        return {};
    UniqueFd fd(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!fd || ::fstat(fd.get(), &status) != 0 || !S_ISREG(status.st_mode))
        return {};
    return fd;
}

std::optional<ContentType> typeOfFirstBytes(const std::filesystem::path& path) {
    const UniqueFd fd = openRegular(path);
    if (!fd)
        return std::nullopt;
    std::array<char, 16> bytes{};
    ssize_t count = 0;
    do
        count = ::pread(fd.get(), bytes.data(), bytes.size(), 0);
    while (count < 0 && errno == EINTR);
    if (count <= 0)
        return std::nullopt;
    return TypeRegistry::typeOfSignature({bytes.data(), static_cast<std::size_t>(count)});
}

/// A file that can be read, and what its reader is told of it.
struct Opened {
    UniqueFd file;
    ReadRequest request;
};

std::expected<Opened, SummarizerError> open(const std::filesystem::path& path) {
    auto type = Summarizer::contentType(path);
    if (!type)
        return std::unexpected(SummarizerError::unsupportedType(std::string(extensionOf(fileNameOf(path)))));
    const auto route = routeOf(*type);
    if (!route)
        return std::unexpected(SummarizerError::unsupportedType(type->identifier));
    Opened opened{.file = openRegular(path),
                  .request = {.path = path, .type = *std::move(type), .route = *route, .bestDate = {}}};
    if (!opened.file)
        return std::unexpected(SummarizerError::unreadable(path));
    opened.request.fd = opened.file.get();
    return opened;
}

} // namespace

SummarizerSettings::SummarizerSettings(std::vector<std::string> recognitionLanguages) {
    image.recognitionLanguages = std::move(recognitionLanguages);
    pdf.ocr = image;
    quickLook.ocr = image;
    video.ocr = image;
}

Summarizer::Summarizer(std::vector<std::string> recognitionLanguages, std::shared_ptr<ContentReading> reading,
                       std::shared_ptr<SpeechTranscribing> transcriber, SummarizerEvents events)
    : m_settings(std::move(recognitionLanguages))
    , m_reading(std::move(reading))
    , m_transcriber(std::move(transcriber))
    , m_events(std::move(events)) {
    VESTO_ASSERT(m_reading != nullptr);
}

std::expected<ContentSummary, SummarizerError> Summarizer::summarize(const std::filesystem::path& path,
                                                                     const std::stop_token& stop) const {
    auto opened = open(path);
    if (!opened)
        return std::unexpected(std::move(opened).error());
    ReadRequest& request = opened->request;
    request.bestDate = FileDates::bestDate(path);
    request.stop = stop;
    if (m_events.onStage)
        request.onStage = [&](ReadingStage stage) { m_events.onStage(path, stage); };
    const auto start = systemClock().sinceBoot();
    auto reading = m_reading->read(request, m_settings);
    if (!reading)
        return std::unexpected(std::move(reading).error());
    if (!reading->missingLanguages.empty() && m_events.onMissingLanguages)
        m_events.onMissingLanguages(reading->missingLanguages);
    if (m_transcriber)
        addTranscript(*reading, request.route, m_settings, *m_transcriber, systemClock().sinceBoot() - start,
                      stop);
    return std::move(reading)->summary;
}

std::expected<Preview, SummarizerError> Summarizer::preview(const std::filesystem::path& path,
                                                            const std::stop_token& stop) const {
    auto opened = open(path);
    if (!opened)
        return std::unexpected(std::move(opened).error());
    opened->request.stop = stop;
    return m_reading->preview(opened->request);
}

std::optional<ContentType> Summarizer::contentType(const std::filesystem::path& path) {
    const std::string_view extension = extensionOf(fileNameOf(path));
    return extension.empty() ? typeOfFirstBytes(path) : TypeRegistry::typeOfExtension(extension);
}

bool Summarizer::isSupported(const std::filesystem::path& path) {
    const std::string_view extension = extensionOf(fileNameOf(path));
    if (!extension.empty())
        return routeOfExtension(extension).has_value();
    const auto type = typeOfFirstBytes(path);
    return type && routeOf(*type);
}

std::pair<ContentSummary::Kind, std::optional<std::string>>
kindAndFormat(const std::optional<ContentType>& type) {
    using Kind = ContentSummary::Kind;
    struct Row {
        std::string_view identifier;
        Kind kind;
        std::string_view format;
    };
    static constexpr Row rows[] = {
        {"org.openxmlformats.spreadsheetml.sheet", Kind::spreadsheet, "Excel"},
        {"com.microsoft.excel.xls", Kind::spreadsheet, "Excel"},
        {"com.apple.iwork.numbers.sffnumbers", Kind::spreadsheet, "Numbers"},
        {"org.openxmlformats.presentationml.presentation", Kind::presentation, "PowerPoint"},
        {"com.microsoft.powerpoint.ppt", Kind::presentation, "PowerPoint"},
        {"com.apple.keynote.key", Kind::presentation, "Keynote"},
        {"com.apple.iwork.keynote.sffkey", Kind::presentation, "Keynote"},
        {"com.apple.iwork.pages.sffpages", Kind::document, "Pages"},
        {"org.idpf.epub-container", Kind::ebook, "EPUB"},
        {"org.openxmlformats.wordprocessingml.document", Kind::document, "Word"},
        {"com.microsoft.word.doc", Kind::document, "Word"},
        {"org.oasis-open.opendocument.spreadsheet", Kind::spreadsheet, "OpenDocument"},
        {"org.oasis-open.opendocument.presentation", Kind::presentation, "OpenDocument"},
    };
    if (type) {
        for (const Row& row : rows) {
            if (type->identifier == row.identifier)
                return {row.kind, std::string(row.format)};
        }
    }
    return {Kind::document, std::nullopt};
}

bool isScreenCapture(const std::filesystem::path& path, const std::optional<std::string>& imageUserComment) {
    if (imageUserComment && unicode::caseFolded(*imageUserComment).find("screenshot") != std::string::npos)
        return true;
    return GenericNameDetector::isScreenshotName(baseNameOf(fileNameOf(path)));
}

} // namespace vesto
