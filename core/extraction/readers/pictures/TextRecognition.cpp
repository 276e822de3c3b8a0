#include "core/extraction/readers/pictures/TextRecognition.h"

#include "core/extraction/readers/Ascii.h"
#include "core/extraction/readers/LineCollector.h"
#include "core/extraction/readers/pictures/LeptonicaPicture.h"
#include "core/extraction/readers/pictures/RasterScaling.h"
#include "core/extraction/readers/pictures/RecognizedLine.h"
#include "core/extraction/readers/pictures/TextContrast.h"

#include <leptonica/allheaders.h>
#include <tesseract/baseapi.h>
#include <tesseract/ocrclass.h>
#include <tesseract/resultiterator.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <utility>

namespace vesto::readers {
namespace {

using Clock = std::chrono::steady_clock;
using tesseract::TessBaseAPI;

std::unique_ptr<TessBaseAPI> loadEngine(const std::string& code) {
    auto api = std::make_unique<TessBaseAPI>();
    api->SetVariable("debug_file", "/dev/null");
    if (api->Init(nullptr, code.c_str(), tesseract::OEM_LSTM_ONLY) != 0)
        return nullptr;
    return api;
}

/// What recognises one language, loaded when it is needed.
class Engine {
public:
    explicit Engine(std::string code)
        : m_code(std::move(code)) {}

    [[nodiscard]] const std::string& code() const { return m_code; }

    /// Null where its data is not installed.
    TessBaseAPI* api() {
        if (!m_wasLoaded)
            m_api = loadEngine(m_code);
        m_wasLoaded = true;
        return m_api.get();
    }

    [[nodiscard]] bool isLoaded() const { return m_api != nullptr; }

    /// Looks for the data in the folder of another engine as long as this one is not loaded.
    [[nodiscard]] bool isMissing(TessBaseAPI* other) const {
        if (m_wasLoaded || other == nullptr)
            return m_api == nullptr;
        return ::access((std::string(other->GetDatapath()) + m_code + ".traineddata").c_str(), R_OK) != 0;
    }

    /// Forgets the last picture.
    void clear() {
        if (m_api != nullptr)
            m_api->Clear();
    }

private:
    std::string m_code;
    std::unique_ptr<TessBaseAPI> m_api;
    bool m_wasLoaded = false; // or could not be
};

/// The engines of this process, one for each language that was asked for last. The first that is installed
/// reads the page, the others only what it was not sure of on a page that it read badly: an engine of several
/// languages reads nearly everything twice, and loading one takes longer than reading many a picture.
struct Engines {
    std::mutex mutex;
    std::vector<Engine> all{};

    /// The mutex must be held.
    void choose(const std::vector<std::string>& codes) {
        if (std::ranges::equal(all, codes, {}, &Engine::code))
            return;
        std::vector<Engine> chosen;
        for (const std::string& code : codes) {
            const auto known = std::ranges::find(all, code, &Engine::code);
            chosen.push_back(known != all.end() ? std::move(*known) : Engine(code));
        }
        all = std::move(chosen);
    }

    /// The first that is installed, or the end. The mutex must be held.
    std::vector<Engine>::iterator first() {
        return std::ranges::find_if(all, [](Engine& engine) { return engine.api() != nullptr; });
    }
};

/// Never destroyed: a process that ends need not tidy up its dictionaries.
Engines& sharedEngines() {
    static Engines& engines = *new Engines;
    return engines;
}

// A page that looks like more pieces than this is not text but noise, over which the analysis of a page takes
// half a minute.
constexpr int maxPieces = 12'000;

// Resolution that is told to the engine, which only takes it to judge how large text can be.
constexpr int nominalResolution = 150; // dots an inch

/// Black on white, as the engine tells one from the other; null where it cannot.
PixPointer binaryOf(TessBaseAPI& api, Pix* pix) {
    api.SetImage(pix);
    api.SetSourceResolution(nominalResolution);
    return PixPointer(api.GetThresholdedImage());
}

/// How far the lines of a page rise or fall; 0 where that is little or uncertain.
float tiltOf(Pix* binary) {
    l_float32 angle = 0; // degrees
    l_float32 confidence = 0;
    if (pixFindSkew(binary, &angle, &confidence) != 0 || confidence < 3 || std::abs(angle) < 0.4F)
        return 0;
    return angle;
}

/// Hands the picture over, smoothed where it is noisy, straight where it is tilted; whether it is worth
/// reading.
bool setPicture(TessBaseAPI& api, PixPointer& pix) {
    PixPointer binary = binaryOf(api, pix.get());
    for (const bool isSmoothed : {false, true}) {
        if (isSmoothed) {
            pix.reset(pixBlockconv(pix.get(), 1, 1));
            binary = pix == nullptr ? nullptr : binaryOf(api, pix.get());
        }
        l_int32 pieces = 0;
        if (binary == nullptr || pixCountConnComp(binary.get(), 8, &pieces) != 0)
            return false;
        if (pieces > maxPieces)
            continue;
        const float tilt = tiltOf(binary.get());
        if (tilt == 0)
            return true;
        constexpr float radians = 3.14159265F / 180;
        pix.reset(pixRotateAMGray(pix.get(), tilt * radians, 255));
        return pix != nullptr && binaryOf(api, pix.get()) != nullptr;
    }
    return false;
}

/// Reads what was set until the deadline; what was read until then is there in any case.
void run(TessBaseAPI& api, Clock::time_point deadline) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    if (left <= 0)
        return;
    tesseract::ETEXT_DESC monitor;
    monitor.set_deadline_msecs(static_cast<std::int32_t>(left));
    static_cast<void>(api.Recognize(&monitor));
}

std::vector<RecognizedLine> linesOf(TessBaseAPI& api) {
    using Level = tesseract::PageIteratorLevel;
    std::vector<RecognizedLine> lines;
    const std::unique_ptr<tesseract::ResultIterator> ordered(api.GetIterator());
    if (ordered == nullptr)
        return lines;
    // That one works out the direction of each line, for which it walks the page again and again; a plain
    // copy of it steps from word to word.
    tesseract::LTRResultIterator words(*ordered);
    std::size_t bytes = 0;
    do {
        if (words.IsAtBeginningOf(Level::RIL_TEXTLINE)) {
            RecognizedLine& line = lines.emplace_back();
            words.BoundingBox(Level::RIL_TEXTLINE, &line.left, &line.top, &line.right, &line.bottom);
        }
        const std::unique_ptr<char[]> text(words.GetUTF8Text(Level::RIL_WORD));
        if (lines.empty() || text == nullptr || ascii::trimmed(text.get()).empty())
            continue;
        lines.back().words.push_back({.text = text.get(), .confidence = words.Confidence(Level::RIL_WORD)});
        bytes += lines.back().words.back().text.size();
    } while (words.Next(Level::RIL_WORD) && bytes < 8 * maxCharacters);
    return lines;
}

constexpr float weakLine = 80;         // mean confidence below which another language is asked
constexpr std::size_t maxRetries = 24; // lines

constexpr float weakPage = 80; // mean confidence of its text below which a page may be in another language

bool isWeakPage(const std::vector<RecognizedLine>& lines) {
    RecognizedLine all;
    for (const RecognizedLine& line : lines) {
        if (looksLikeText(line))
            all.words.insert(all.words.end(), line.words.begin(), line.words.end());
    }
    return all.confidence() < weakPage;
}

/// Has the lines that `api` can read better replaced by what it reads.
void rereadWeakLines(TessBaseAPI& api, Pix* pix, std::vector<RecognizedLine>& lines,
                     Clock::time_point deadline) {
    std::size_t retries = 0;
    for (RecognizedLine& line : lines) {
        if (line.confidence() >= weakLine || !looksLikeText(line))
            continue;
        if (retries == maxRetries || Clock::now() >= deadline)
            return;
        if (retries++ == 0) {
            api.SetPageSegMode(tesseract::PSM_SINGLE_LINE);
            api.SetImage(pix);
            api.SetSourceResolution(nominalResolution);
        }
        const int margin = std::max(2, (line.bottom - line.top) / 8);
        const int left = std::max(0, line.left - margin);
        const int top = std::max(0, line.top - margin);
        api.SetRectangle(left, top, std::min(line.right + margin, pixGetWidth(pix)) - left,
                         std::min(line.bottom + margin, pixGetHeight(pix)) - top);
        run(api, deadline);
        const std::vector<RecognizedLine> reread = linesOf(api);
        if (reread.size() == 1 && reread.front().confidence() > line.confidence() + 3)
            line.words = reread.front().words;
    }
}

// Print of a screen's size is read as well so enlarged as at twice its size, and faster.
constexpr double largestEnlargement = 1.6;

/// As large as recognition wants it: small print, as on a screen, is read better when it is enlarged. Null
/// where nothing has the contrast of text.
PixPointer preparedPicture(const Raster& picture) {
    const PixelSize size{picture.width, picture.height};
    const PixelSize smaller = sizeWithin(size, maxRecognizedPixels);
    GreyPicture grey = greyPicture(smaller == size ? picture : reduced(picture, smaller));
    if (!makeTextDark(grey))
        return nullptr;
    PixPointer pix = pixOf(grey);
    const double room = static_cast<double>(maxRecognizedPixels) / static_cast<double>(smaller.pixels());
    const auto factor = static_cast<float>(std::min(largestEnlargement, std::sqrt(room)));
    if (pix == nullptr || factor < 1.1F)
        return pix;
    return PixPointer(pixScaleGrayLI(pix.get(), factor, factor));
}

} // namespace

std::vector<std::string> recognitionCodes(const std::vector<std::string>& languages) {
    using Row = std::pair<std::string_view, std::string_view>;
    static constexpr std::array<Row, 14> table{{
        {"fr", "fra"},
        {"en", "eng"},
        {"de", "deu"},
        {"es", "spa"},
        {"it", "ita"},
        {"pt", "por"},
        {"nl", "nld"},
        {"ca", "cat"},
        {"da", "dan"},
        {"sv", "swe"},
        {"nb", "nor"},
        {"no", "nor"},
        {"fi", "fin"},
        {"pl", "pol"},
    }};
    std::vector<std::string> codes;
    for (const std::string& language : languages) {
        const std::string primary =
            ascii::lowered(std::string_view(language).substr(0, language.find_first_of("-_")));
        const auto* const row = std::ranges::find(table, std::string_view(primary), &Row::first);
        if (row != table.end() && std::ranges::find(codes, row->second) == codes.end())
            codes.emplace_back(row->second);
    }
    return codes;
}

RecognizedText recognizeText(const Raster& picture, const std::vector<std::string>& languages,
                             std::chrono::milliseconds timeLimit) {
    const Clock::time_point deadline = Clock::now() + timeLimit;
    Engines& engines = sharedEngines();
    const std::scoped_lock lock(engines.mutex);
    silenceLeptonica();
    engines.choose(recognitionCodes(languages));
    RecognizedText text;
    const auto first = engines.first();
    TessBaseAPI* api = first == engines.all.end() ? nullptr : first->api();
    for (const Engine& engine : engines.all) {
        if (engine.isMissing(api))
            text.missingLanguages.push_back(engine.code());
    }
    if (api == nullptr || picture.width == 0 || picture.height == 0)
        return text;
    PixPointer pix = preparedPicture(picture);
    if (pix == nullptr)
        return text;
    api->SetPageSegMode(tesseract::PSM_AUTO);
    if (setPicture(*api, pix)) {
        run(*api, deadline);
        std::vector<RecognizedLine> lines = linesOf(*api);
        for (auto other = std::next(first); other != engines.all.end() && isWeakPage(lines); ++other) {
            if (Clock::now() < deadline && other->api() != nullptr)
                rereadWeakLines(*other->api(), pix.get(), lines, deadline);
        }
        LineCollector collector;
        for (const RecognizedLine& line : lines)
            collector.add(trustedText(line));
        text.lines = collector.take();
    }
    for (Engine& engine : engines.all)
        engine.clear();
    return text;
}

void warmTextRecognition(const std::vector<std::string>& languages, WarmLanguages which) {
    Engines& engines = sharedEngines();
    const std::scoped_lock lock(engines.mutex);
    silenceLeptonica();
    engines.choose(recognitionCodes(languages));
    switch (which) {
    case WarmLanguages::first:
        static_cast<void>(engines.first());
        break;
    case WarmLanguages::all:
        for (Engine& engine : engines.all)
            static_cast<void>(engine.api());
        break;
    }
}

bool hasLoadedSeveralLanguages() {
    Engines& engines = sharedEngines();
    const std::scoped_lock lock(engines.mutex);
    return std::ranges::count_if(engines.all, &Engine::isLoaded) > 1;
}

} // namespace vesto::readers
