#pragma once
#include "core/extraction/Summarizer.h"
#include "core/support/UniqueFd.h"
#include "services/client/RemoteReader.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

namespace vesto::tests {

/// A file without a name that holds `content`, open for reading alone; gone with the descriptor.
inline UniqueFd fileWith(std::string_view content) {
    std::string pattern = ::testing::TempDir() + "vesto-XXXXXX";
    const UniqueFd writable(::mkstemp(pattern.data()));
    EXPECT_EQ(::write(writable.get(), content.data(), content.size()), static_cast<ssize_t>(content.size()));
    UniqueFd file(::open(pattern.c_str(), O_RDONLY | O_CLOEXEC));
    ::unlink(pattern.c_str());
    EXPECT_TRUE(file);
    return file;
}

/// A file on its way to a reader. The programs of tests/service_programs do what its name says.
struct Asked {
    explicit Asked(std::string name, std::string_view content = "Relevé de compte\n",
                   Route route = Route::document)
        : file(fileWith(content)) {
        request.fd = file.get();
        request.path = "/dossier/" + std::move(name);
        request.type = {"public.plain-text"};
        request.route = route;
    }

    UniqueFd file;
    ReadRequest request;
};

inline const SummarizerSettings& settings() {
    static const SummarizerSettings value({"fr-FR", "en-US"});
    return value;
}

inline RemoteReader::Settings serviceSettings(std::string program, std::vector<std::string> arguments = {},
                                              std::chrono::milliseconds patience = std::chrono::seconds(60)) {
    return {.program = std::move(program), .arguments = std::move(arguments), .patience = [patience](Route) {
                return patience;
            }};
}

/// What comes back of a file of this name: its first line, or the name of the error.
inline std::string firstLine(RemoteReader& reader, const std::string& name, Route route = Route::document) {
    Asked asked(name);
    asked.request.route = route;
    const auto reading = reader.read(asked.request, settings());
    if (!reading)
        return std::string(reading.error().name());
    return reading->summary.lines.empty() ? std::string() : reading->summary.lines[0];
}

} // namespace vesto::tests
