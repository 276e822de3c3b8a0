#include "services/client/RemoteTranscriber.h"

#include "tests/model/engine/Files.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <future>
#include <numeric>
#include <string_view>

namespace vesto::tests {
namespace {

using namespace std::chrono_literals;
using End = RemoteTranscriber::End;
using Samples = std::vector<std::int16_t>;

const std::vector<std::string> locales{"fr_FR", "en_US"};
constexpr std::size_t second = 16'000; // samples

std::filesystem::path made(const std::string& name) {
    return std::filesystem::path(VESTO_MODELS) / (name + ".bin");
}

RemoteTranscriber::Settings settingsFor(const std::filesystem::path& model) {
    // Threads that wait for each other take long where there are other tests.
    return {.model = model, .program = VESTO_MODEL_HOST, .windDown = 60s, .threads = 1};
}

/// A hiss; another one for another `pitch`.
Samples sound(std::size_t size, std::uint32_t pitch = 1) {
    Samples samples(size);
    std::uint32_t state = pitch;
    std::int32_t before = 0;
    for (std::int16_t& sample : samples) {
        state = state * 1664525 + 1013904223;
        before = (before * static_cast<std::int32_t>(pitch) + static_cast<std::int32_t>(state >> 18)) /
                 static_cast<std::int32_t>(pitch + 1);
        sample = static_cast<std::int16_t>(before - 8192);
    }
    return samples;
}

/// The lines, one after the other; "" for nothing.
std::string textFrom(RemoteTranscriber& speech, const Samples& samples, Seconds timeout = 60s,
                     std::stop_token stop = {}, const std::vector<std::string>& in = locales) {
    const auto lines = speech.transcribe(samples, in, timeout, std::move(stop));
    if (!lines)
        return {};
    EXPECT_FALSE(lines->empty());
    return std::accumulate(lines->begin(), lines->end(), std::string(),
                           [](const std::string& all, const std::string& line) { return all + line + '\n'; });
}

bool comesToHaveAHost(const RemoteTranscriber& speech) {
    for (int i = 0; i < 3000 && !speech.process(); ++i)
        std::this_thread::sleep_for(10ms);
    return speech.process().has_value();
}

TEST(RemoteTranscriber, TriesTheLanguagesInTheirOrderButFirstTheOneItHears) {
    struct Row {
        std::string model;
        std::vector<std::string> locales;
        std::string text;
        std::string language;
    };
    const Row rows[] = {
        {"greets", {"fr_FR", "en_US"}, "Bonjour à tous\n", "fr"},
        {"greets", {"en_US", "fr_FR"}, "Bonjour à tous\n", "en"},
        {"greets_in_english", {"fr_FR", "en_US"}, "Hello\n", "en"},
        {"greets_in_german", {"fr_FR", "en_US"}, "Hallo\n", "fr"}, // nobody asked for German
        {"deaf_to_french", {"fr_FR", "en_US"}, "Hello\n", "en"},
        {"silent", {"fr_FR", "en_US"}, "", ""},
        {"english", {"fr_FR", "en_US"}, "Hello\n", "en"},
        {"english", {"fr_FR"}, "", ""},
        {"greets", {"xx", "fr-CA", "fr_FR"}, "Bonjour à tous\n", "fr"},
        {"greets", {}, "", ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.model);
        RemoteTranscriber speech(settingsFor(made(row.model)));
        EXPECT_EQ(textFrom(speech, sound(2 * second), 60s, {}, row.locales), row.text);
        const auto facts = speech.facts();
        EXPECT_EQ(facts.language, row.language);
        EXPECT_EQ(facts.end, row.text.empty() ? End::silence : End::heard);
        EXPECT_EQ(facts.obstacle, ModelObstacle::none);
    }
}

TEST(RemoteTranscriber, HearsTheSoundAndNothingOfAnEarlierOne) {
    RemoteTranscriber speech(settingsFor(made("listens")));
    const Samples first = sound(60 * second);
    const std::string words = textFrom(speech, first);
    EXPECT_NE(words, "");
    const std::string others = textFrom(speech, sound(60 * second, 40));
    EXPECT_NE(others, words);
    EXPECT_EQ(textFrom(speech, first), words);
    EXPECT_EQ(speech.facts().end, End::heard);
    // What is beyond the minute is nobody's business.
    Samples longer = first;
    longer.resize(61 * second, 9000);
    EXPECT_EQ(textFrom(speech, longer), words);
}

TEST(RemoteTranscriber, IsNotAskedWhereThereIsNothingToHear) {
    RemoteTranscriber speech(settingsFor(made("greets")));
    EXPECT_EQ(textFrom(speech, {}), "");
    EXPECT_EQ(textFrom(speech, Samples(60 * second, 20)), "");
    EXPECT_EQ(speech.facts().end, End::silence);
    EXPECT_FALSE(speech.process());
    // Too short for a word, though loud; the engine would read beyond its end.
    for (const std::size_t size : {1UZ, 200UZ, 1599UZ})
        EXPECT_EQ(textFrom(speech, Samples(size, 9000)), "") << size;
    EXPECT_EQ(textFrom(speech, Samples(1600, 9000)), "Bonjour à tous\n");
}

TEST(RemoteTranscriber, WhatIsNoModelOfSpeechIsRefused) {
    const Folder folder;
    const std::string good = bytesOf(made("greets"));
    const std::size_t words = std::size_t{14} * 4 + std::size_t{80} * 201 * 4; // where their number stands
    const auto changed = [&good](std::size_t offset, std::uint32_t value) {
        std::string bytes = good;
        std::memcpy(bytes.data() + offset, &value, sizeof value);
        return bytes;
    };
    // The first tensor, whose number of dimensions the engine does not question.
    const std::size_t tensor = good.find("encoder.positional_embedding") - std::size_t{5} * 4;
    const std::pair<const char*, std::string> rows[] = {
        {"empty", ""},
        {"text", "Chère Madame,\n"},
        {"magic", good.substr(0, 4)},
        {"head", good.substr(0, 48)},
        {"filters", good.substr(0, words - 100)},
        {"vocabulary", good.substr(0, words + 40)},
        {"tensor", good.substr(0, good.size() / 2)},
        {"end", good.substr(0, good.size() - 1)},
        {"language", bytesOf(std::filesystem::path(VESTO_MODELS) / "says.gguf")},
        {"few tokens", changed(4, 20'000)},
        {"heads", changed(16, 0)},
        {"filter", changed(52, 8)},
        {"many words", changed(words, 0x7FFFFFFF)},
        {"long word", changed(words + 4, 0x7FFFFFFF)},
        {"dimensions", changed(tensor, 0x7FFFFFFF)},
        {"long name", changed(tensor + 4, 0x7FFFFFFF)},
        {"negative name", changed(tensor + 4, 0xFFFFFFFF)},
        {"type", changed(tensor + 8, 200)},
    };
    for (const auto& [name, bytes] : rows) {
        SCOPED_TRACE(name);
        write(folder.file(name), bytes);
        RemoteTranscriber speech(settingsFor(folder.file(name)));
        EXPECT_EQ(textFrom(speech, sound(second)), "");
        const auto obstacle = speech.facts().obstacle; // a crash is not called the file's fault
        EXPECT_TRUE(obstacle == ModelObstacle::refused ||
                    (obstacle == ModelObstacle::dies && std::string_view(name) == "dimensions"));
        EXPECT_EQ(speech.facts().end, End::failed);
        EXPECT_FALSE(speech.process());
    }
    // Another file under its name is another model.
    RemoteTranscriber speech(settingsFor(folder.file("end")));
    EXPECT_EQ(textFrom(speech, sound(second)), "");
    write(folder.file("new"), good);
    std::filesystem::rename(folder.file("new"), folder.file("end"));
    EXPECT_EQ(textFrom(speech, sound(second)), "Bonjour à tous\n");
    std::filesystem::remove(folder.file("end"));
    EXPECT_EQ(textFrom(speech, sound(second)), "");
    EXPECT_EQ(speech.facts().obstacle, ModelObstacle::noFile);
}

TEST(RemoteTranscriber, OfASoundThatIsNotAsLongAsItSaysNothingIsHeard) {
    const ModelProcess::Patience patience{
        .bell = -1, .isCancelled = [] { return false; }, .longest = 60s, .windDown = 1s};
    auto host = ModelProcess::start(VESTO_MODEL_HOST, {}, patience);
    ASSERT_TRUE(host);
    const auto file = openModelFile(made("greets"));
    ASSERT_TRUE(file);
    const auto loaded = host->give<ipc::ModelLoaded>(ipc::LoadModel{.kind = ipc::ModelKind::speech},
                                                     file->fd.get(), patience);
    ASSERT_TRUE(loaded && loaded->outcome == ipc::ModelOutcome::done);
    const UniqueFd memory(::memfd_create("sound", MFD_CLOEXEC));
    const Samples samples = sound(second);
    ASSERT_EQ(::write(memory.get(), samples.data(), 2 * second), 2 * static_cast<ssize_t>(second));
    const UniqueFd room(::memfd_create("room", MFD_CLOEXEC));
    struct Row {
        int descriptor;
        std::uint32_t samples;
        bool isHeard;
    };
    const Row rows[] = {
        {memory.get(), second + 1, false},
        {memory.get(), second - 1, false},
        {memory.get(), 0, false},
        {room.get(), second, false},
        {-1, second, false},
        {file->fd.get(), second, false},
        {memory.get(), second, true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.samples);
        const auto report = host->give<ipc::SoundTranscribed>(
            ipc::TranscribeSound{.samples = row.samples, .languages = {"fr"}, .longest = 30s}, row.descriptor,
            patience);
        ASSERT_TRUE(report);
        EXPECT_EQ(report->outcome, row.isHeard ? ipc::ModelOutcome::done : ipc::ModelOutcome::engine);
        EXPECT_EQ(report->lines.empty(), !row.isHeard);
    }
    // It is no model of language.
    const auto answer = host->give<ipc::ModelAnswered>(ipc::AskModel{"Relevé", 4}, -1, patience);
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->outcome, ipc::ModelOutcome::engine);
}

TEST(RemoteTranscriber, AHostThatLeavesIsStartedAgain) {
    auto settings = settingsFor(made("greets"));
    settings.program = VESTO_BRIEF_MODEL;
    settings.arguments = {"2000"}; // longer than its load and its work lie apart on a busy machine
    RemoteTranscriber speech(std::move(settings));
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(textFrom(speech, sound(second)), "Bonjour à tous\n");
        EXPECT_TRUE(comesToHaveNoHost(speech));
    }
}

TEST(RemoteTranscriberThreads, StopsInTimeAndWhenToldTo) {
    RemoteTranscriber speech(settingsFor(made("listens")));
    const Samples minute = sound(60 * second);
    ASSERT_NE(textFrom(speech, minute), "");
    const auto host = speech.process();
    for (const auto delay : {0ms, 1ms, 20ms, 60ms}) {
        std::string words = "unasked";
        for (int tries = 0; tries < 3 && !words.empty(); ++tries) { // it may be done before it is told
            std::stop_source stop;
            auto text = std::async([&] { return textFrom(speech, minute, 60s, stop.get_token()); });
            std::this_thread::sleep_for(delay);
            stop.request_stop();
            words = text.get();
        }
        EXPECT_EQ(words, "");
        EXPECT_EQ(textFrom(speech, minute, delay), ""); // not even the first half in so little time
        EXPECT_EQ(speech.facts().end, End::late);
    }
    EXPECT_EQ(speech.process(), host); // it stopped; nobody had to end it
    EXPECT_NE(textFrom(speech, minute), "");
}

/// Kills one host after the other; false where one was done with its recording before.
void killHosts(bool& areKilledInTime) {
    RemoteTranscriber speech(settingsFor(made("listens")));
    const Samples minute = sound(60 * second);
    areKilledInTime = false;
    // At the third death in a row there is no fourth host.
    for (const bool isHeardThen : {true, false, false, false}) {
        auto text = std::async([&] { return textFrom(speech, minute); });
        ASSERT_TRUE(comesToHaveAHost(speech));
        std::this_thread::sleep_for(20ms);
        ASSERT_EQ(::kill(*speech.process(), SIGKILL), 0);
        if (!text.get().empty())
            return;
        EXPECT_EQ(speech.facts().end, End::failed);
        EXPECT_FALSE(speech.process());
        if (isHeardThen) {
            EXPECT_NE(textFrom(speech, sound(second)), "");
            ASSERT_EQ(::kill(*speech.process(), SIGKILL), 0);
        }
        ASSERT_TRUE(comesToHaveNoHost(speech));
    }
    EXPECT_EQ(textFrom(speech, minute), "");
    EXPECT_EQ(speech.facts().obstacle, ModelObstacle::dies);
    areKilledInTime = true;
}

TEST(RemoteTranscriberThreads, AHostThatIsKilledCostsOneRecording) {
    bool areKilledInTime = false;
    for (int tries = 0; tries < 3 && !areKilledInTime && !HasFailure(); ++tries)
        killHosts(areKilledInTime);
    EXPECT_TRUE(areKilledInTime);
}

TEST(RemoteTranscriberThreads, ManyAskAtOnceAndItEndsInTheMiddle) {
    auto speech = std::make_unique<RemoteTranscriber>(settingsFor(made("greets")));
    std::vector<std::future<std::string>> texts;
    texts.reserve(4);
    for (int i = 0; i < 4; ++i)
        texts.push_back(std::async([&] { return textFrom(*speech, sound(second)); }));
    for (auto& text : texts)
        EXPECT_EQ(text.get(), "Bonjour à tous\n");
    for (const auto delay : {0ms, 5ms, 100ms}) {
        speech = std::make_unique<RemoteTranscriber>(settingsFor(made("listens")));
        EXPECT_EQ(textFrom(*speech, sound(60 * second), delay), "");
        speech.reset();
    }
    siginfo_t info{};
    EXPECT_NE(::waitid(P_ALL, 0, &info, WEXITED | WNOHANG), 0); // no process is left
}

} // namespace
} // namespace vesto::tests
