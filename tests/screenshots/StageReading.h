#pragma once
#include "core/extraction/ContentReading.h"
#include "core/naming/TitleGenerating.h"
#include "core/support/UnicodeDates.h"
#include "tests/core/files/TestFolder.h"

#include <atomic>
#include <chrono>
#include <sstream>
#include <string>
#include <thread>

namespace vesto {

/// Reads a file as its text says, line by line: "title WORDS", "kind NAME", "label NAME SHARE"; the others
/// are what stands in it.
class StageReading final : public ContentReading {
public:
    std::expected<Reading, SummarizerError> read(const ReadRequest& request,
                                                 const SummarizerSettings&) override {
        while (isHeld && request.path.filename().native() >= "n" && !request.stop.stop_requested())
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        Reading reading;
        ContentSummary& summary = reading.summary;
        summary.date = unicode::instantOf({.year = 2026, .month = 3, .day = 12});
        std::istringstream content(contentOf(request.path));
        for (std::string line; std::getline(content, line);) {
            if (line.starts_with("label ")) {
                std::istringstream words(line.substr(6));
                ContentSummary::Label label;
                words >> label.identifier >> label.confidence;
                summary.labels.push_back(label);
            } else if (line.starts_with("kind ")) {
                summary.kind = kindOfRawValue(line.substr(5)).value();
            } else if (line.starts_with("title ")) {
                summary.formatName = line.substr(6); // no window shows it
            } else {
                summary.lines.push_back(line);
            }
        }
        return reading;
    }
    std::expected<Preview, SummarizerError> preview(const ReadRequest& request) override {
        return std::unexpected(SummarizerError::unreadable(request.path));
    }

    std::atomic<bool> isHeld = false; // files from "n" on in the alphabet
};

/// The titles that the files themselves say.
class StageTitles final : public TitleGenerating {
public:
    std::expected<std::string, NameGenerationError> title(const ContentSummary& summary,
                                                          std::stop_token) override {
        return summary.formatName.value_or("");
    }
};

} // namespace vesto
