#include "core/extraction/readers/TextRecognition.h"

#include "core/extraction/readers/Ascii.h"
#include "core/extraction/readers/LeptonicaPicture.h"
#include "core/extraction/readers/LineCollector.h"
#include "core/extraction/readers/PictureContent.h"
#include "core/extraction/readers/RasterScaling.h"
#include "core/support/Unicode.h"

#include <fmt/ranges.h>
#include <leptonica/allheaders.h>
#include <tesseract/baseapi.h>
#include <tesseract/ocrclass.h>
#include <tesseract/resultiterator.h>

#include <algorithm>
#include <array>
#include <memory>
#include <mutex>
#include <string_view>
#include <utility>

namespace vesto::readers {
namespace {

/// The engine of this process: loading it takes longer than most pictures.
struct Engine {
    std::mutex mutex;
    std::vector<std::string> codes; // that it was asked to load
    std::vector<std::string> missing;
    std::unique_ptr<tesseract::TessBaseAPI> api; // none where nothing could be loaded
    bool isLoaded = false;
};

/// Never destroyed: a process that ends need not tidy up its dictionaries.
Engine& sharedEngine() {
    static Engine& engine = *new Engine;
    return engine;
}

/// The mutex must be held.
void load(Engine& engine, const std::vector<std::string>& codes) {
    if (engine.isLoaded && engine.codes == codes)
        return;
    silenceLeptonica();
    engine.isLoaded = true;
    engine.codes = codes;
    engine.missing = codes;
    engine.api = nullptr;
    if (codes.empty())
        return;
    auto api = std::make_unique<tesseract::TessBaseAPI>();
    api->SetVariable("debug_file", "/dev/null");
    const std::string joined = fmt::format("{}", fmt::join(codes, "+"));
    if (api->Init(nullptr, joined.c_str(), tesseract::OEM_LSTM_ONLY) != 0)
        return;
    std::vector<std::string> loaded;
    api->GetLoadedLanguagesAsVector(&loaded);
    std::erase_if(engine.missing,
                  [&](const std::string& code) { return std::ranges::find(loaded, code) != loaded.end(); });
    engine.api = std::move(api);
}

/// Adds the lines that the engine is sure enough of.
void collect(tesseract::TessBaseAPI& api, LineCollector& lines) {
    using Level = tesseract::PageIteratorLevel;
    const std::unique_ptr<tesseract::ResultIterator> words(api.GetIterator());
    if (words == nullptr)
        return;
    std::string line;
    do {
        if (words->IsAtBeginningOf(Level::RIL_TEXTLINE)) {
            lines.add(line);
            line.clear();
        }
        if (words->Empty(Level::RIL_WORD) || words->Confidence(Level::RIL_WORD) < 60)
            continue;
        const std::unique_ptr<char[]> word(words->GetUTF8Text(Level::RIL_WORD));
        if (word == nullptr)
            continue;
        if (!line.empty())
            line += ' ';
        line += word.get();
    } while (words->Next(Level::RIL_WORD) && !lines.full());
    lines.add(line);
}

} // namespace

std::vector<std::string> recognitionCodes(const std::vector<std::string>& languages) {
    static constexpr std::array<std::pair<std::string_view, std::string_view>, 14> table{{
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
        const auto* const row =
            std::ranges::find(table, std::string_view(primary), &decltype(table)::value_type::first);
        if (row != table.end() && std::ranges::find(codes, row->second) == codes.end())
            codes.emplace_back(row->second);
    }
    return codes;
}

RecognizedText recognizeText(const Raster& picture, const std::vector<std::string>& languages,
                             std::chrono::milliseconds timeLimit) {
    Engine& engine = sharedEngine();
    const std::scoped_lock lock(engine.mutex);
    load(engine, recognitionCodes(languages));
    RecognizedText text{.missingLanguages = engine.missing};
    const PixelSize size{picture.width, picture.height};
    if (engine.api == nullptr || size.pixels() == 0)
        return text;
    const PixelSize smaller = sizeWithin(size, maxRecognizedPixels);
    const PixPointer grey = greyPicture(smaller == size ? picture : reduced(picture, smaller));
    if (grey == nullptr)
        return text;
    tesseract::TessBaseAPI& api = *engine.api;
    api.SetPageSegMode(tesseract::PSM_AUTO);
    api.SetImage(grey.get());
    api.SetSourceResolution(150);
    tesseract::ETEXT_DESC monitor;
    monitor.set_deadline_msecs(static_cast<std::int32_t>(timeLimit.count()));
    api.Recognize(&monitor); // what was recognised until the deadline is there although it failed
    LineCollector lines;
    collect(api, lines);
    text.lines = lines.take();
    api.Clear();
    return text;
}

void warmTextRecognition(const std::vector<std::string>& languages) {
    Engine& engine = sharedEngine();
    const std::scoped_lock lock(engine.mutex);
    load(engine, recognitionCodes(languages));
}

} // namespace vesto::readers
