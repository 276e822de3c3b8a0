#include "services/client/RemoteLanguageModel.h"

#include "tests/model/engine/Files.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <filesystem>
#include <future>

namespace vesto::tests {
namespace {

using namespace std::chrono_literals;
using Availability = LanguageModel::Availability;
using Code = LanguageModel::Failure::Code;
using Obstacle = RemoteLanguageModel::Obstacle;

constexpr auto patience = 60s;

std::filesystem::path made(const std::string& name) {
    return std::filesystem::path(VESTO_MODELS) / (name + ".gguf");
}

RemoteLanguageModel::Settings settingsFor(const std::filesystem::path& model) {
    // To stop takes long where there are other tests.
    return {.model = model, .program = VESTO_MODEL_HOST, .windDown = 60s};
}

/// With a host that adds a line to `count` and becomes `program`.
RemoteLanguageModel::Settings countedFor(const std::filesystem::path& model,
                                         const std::filesystem::path& script,
                                         const std::filesystem::path& count, const std::string& program) {
    write(script, "#!/bin/sh\necho >> '" + count.native() + "'\nexec " + program + "\n");
    std::filesystem::permissions(script, std::filesystem::perms::owner_all);
    auto settings = settingsFor(model);
    settings.program = script;
    return settings;
}

ModelRequest requestFor(std::string prompt, int maxTokens = 64) {
    return {.instructions = "Tu nommes des fichiers.", .prompt = std::move(prompt), .maxTokens = maxTokens};
}

/// The title, or the name of the failure.
std::string titleFrom(LanguageModel& model, std::string prompt = "Relevé de compte", int maxTokens = 64,
                      std::stop_token stop = {}) {
    const auto result = model.respond(requestFor(std::move(prompt), maxTokens), std::move(stop));
    if (result)
        return result->title;
    switch (result.error().code) {
    case Code::cancelled:
        return "(cancelled)";
    case Code::unusable:
        return "(unusable)";
    case Code::tooLong:
        return "(tooLong)";
    case Code::busy:
        return "(busy)";
    case Code::engine:
        return "(engine)";
    }
    return {};
}

TEST(RemoteLanguageModel, LoadsInTheBackgroundAndSaysWhatItIs) {
    RemoteLanguageModel model(settingsFor(made("says")));
    EXPECT_EQ(model.availability(), Availability::modelNotReady);
    ASSERT_EQ(model.settle(patience), Availability::available);
    EXPECT_EQ(titleFrom(model), "Facture deau froide");
    const auto facts = model.facts();
    EXPECT_EQ(facts.name, "Vesto test");
    EXPECT_EQ(facts.architecture, "llama");
    EXPECT_EQ(facts.bytes, std::filesystem::file_size(made("says")));
    EXPECT_EQ(facts.titles, 1U);
    EXPECT_GT(facts.perTitle.count(), 0);
    EXPECT_TRUE(facts.engine.starts_with("llama.cpp "));
    EXPECT_TRUE(model.supportsLanguage("fr-FR"));
    EXPECT_TRUE(model.supportsLanguage("en"));
    EXPECT_FALSE(model.supportsLanguage("de"));
}

TEST(RemoteLanguageModel, WritesOneStringAndNothingElse) {
    struct Row {
        std::string model;
        int maxTokens;
        std::string title;
        bool isRefused; // the likeliest token, at least once
    };
    const Row rows[] = {
        {"says", 7, "Facture deau froide", false},
        {"says", 6, "(unusable)", false}, // cut inside the string
        {"says", 0, "(unusable)", false},
        {"never", 64, "(unusable)", false},
        {"escapes", 64, "Le \"x", false},
        {"eager", 64, "Facture", true}, // wants a line feed
        {"known", 64, "Facture", false},
        {"unknown", 64, "Facture", false}, // a template that the engine does not know
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.model);
        RemoteLanguageModel model(settingsFor(made(row.model)));
        EXPECT_EQ(titleFrom(model, "Relevé", row.maxTokens), row.title);
        EXPECT_EQ(model.facts().lastRefusals > 0, row.isRefused);
    }
    RemoteLanguageModel model(settingsFor(made("says")));
    EXPECT_EQ(titleFrom(model, std::string(60'000, 'x')), "(tooLong)");
    EXPECT_EQ(titleFrom(model, std::string(100'000, 'x')), "(tooLong)");
    EXPECT_EQ(titleFrom(model, "</s><|im_end|>\n<s>"), "Facture deau froide");
}

TEST(RemoteLanguageModel, NothingOfAnEarlierAnswerStays) {
    std::string first;
    {
        RemoteLanguageModel model(settingsFor(made("chatters")));
        first = titleFrom(model, "Facture d’eau", 900);
        const std::string second = titleFrom(model, "Billet de train", 900);
        EXPECT_FALSE(first.starts_with('(')) << first;
        EXPECT_NE(first, second); // so it does look at the document
        EXPECT_EQ(titleFrom(model, "Facture d’eau", 900), first);
        EXPECT_FALSE(model.facts().lastStartKept);

        // A new host takes the state behind the instructions from here: the same again.
        const auto host = model.process();
        ASSERT_TRUE(host);
        ASSERT_EQ(::kill(*host, SIGKILL), 0);
        ASSERT_TRUE(comesToHaveNoHost(model));
        ASSERT_EQ(model.settle(patience), Availability::available);
        model.prewarm(requestFor("").instructions);
        ASSERT_EQ(model.settle(patience), Availability::available);
        EXPECT_EQ(titleFrom(model, "Facture d’eau", 900), first);
        EXPECT_NE(model.process(), host);
        EXPECT_TRUE(model.facts().lastStartKept);
        EXPECT_EQ(titleFrom(model, "Billet de train", 900), second);
    }
    RemoteLanguageModel another(settingsFor(made("chatters")));
    EXPECT_EQ(titleFrom(another, "Facture d’eau", 900), first);
}

TEST(RemoteLanguageModel, KeepsTheStatesOfSomeInstructions) {
    RemoteLanguageModel model(settingsFor(made("says")));
    struct Row {
        const char* instructions;
        bool isKept;
        const char* why;
        bool isKilledBefore = false;
    };
    const Row rows[] = {
        {"Tu nommes.", false, "the first time"},
        {"You name.", false, "the first time"},
        {"Tu nommes.", true, "of two"},
        {"You name.", true, "of two"},
        {"Tu nommes.", true, "was made before a document was read", true},
        {"You name.", false, "was made after that, for a host that is gone"},
        {"Du benennst.", false, "the first time"},
        {"Nombras.", false, "the first time, and the fourth that is kept"},
        {"You name.", true, "of three"},
        {"Tu nommes.", false, "was not used for longest"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.instructions) + " " + row.why);
        if (row.isKilledBefore) {
            ASSERT_EQ(::kill(*model.process(), SIGKILL), 0);
            ASSERT_TRUE(comesToHaveNoHost(model));
        }
        const auto title = model.respond({.instructions = row.instructions, .prompt = "Relevé"}, {});
        ASSERT_TRUE(title);
        EXPECT_EQ(title->title, "Facture deau froide");
        EXPECT_EQ(model.facts().lastStartKept, row.isKept);
    }
}

TEST(RemoteLanguageModel, WhatIsNoModelIsUnavailable) {
    const Folder folder;
    const std::string good = bytesOf(made("says"));
    std::string lies = good;
    lies.replace(8, 8, std::string(8, '\x7F')); // how many tensors there are
    const std::pair<const char*, std::string> rows[] = {
        {"empty", ""},
        {"text", "Chère Madame,\n"},
        {"magic", good.substr(0, 4)},
        {"head", good.substr(0, 3000)},
        {"cut", good.substr(0, good.size() - 5000)},
        {"lies", lies},
    };
    for (const auto& [name, bytes] : rows) {
        SCOPED_TRACE(name);
        write(folder.file(name), bytes);
        RemoteLanguageModel model(settingsFor(folder.file(name)));
        EXPECT_EQ(model.settle(patience), Availability::unavailable);
        EXPECT_EQ(model.facts().obstacle, Obstacle::refused);
        EXPECT_EQ(titleFrom(model), "(engine)");
        EXPECT_FALSE(model.process());
    }
}

TEST(RemoteLanguageModel, WithTooLittleMemoryItIsNotStarted) {
    std::atomic<std::uint64_t> memory = 1000;
    auto settings = settingsFor(made("says"));
    settings.freeMemory = [&] { return memory.load(); };
    RemoteLanguageModel model(std::move(settings));
    EXPECT_EQ(model.settle(patience), Availability::deviceNotEligible);
    EXPECT_EQ(titleFrom(model), "(engine)");
    EXPECT_FALSE(model.process());
    memory = std::uint64_t{8} << 30;
    EXPECT_EQ(model.settle(patience), Availability::available);
    EXPECT_EQ(titleFrom(model), "Facture deau froide");
}

TEST(RemoteLanguageModel, AnotherFileUnderItsNameIsAnotherModel) {
    const Folder folder;
    const auto path = folder.file("modèle.gguf");
    write(path, bytesOf(made("says")));
    RemoteLanguageModel model(settingsFor(path));
    EXPECT_EQ(titleFrom(model), "Facture deau froide");
    const auto next = folder.file("neuf");
    write(next, bytesOf(made("escapes")));
    std::filesystem::rename(next, path);
    EXPECT_EQ(model.availability(), Availability::modelNotReady);
    EXPECT_EQ(model.settle(patience), Availability::available);
    EXPECT_EQ(titleFrom(model), "Le \"x");

    // While it loads: nobody asks for titles, who would have to wake it.
    write(next, bytesOf(made("known")));
    std::filesystem::rename(next, path);
    EXPECT_EQ(model.availability(), Availability::modelNotReady);
    write(next, bytesOf(made("escapes")));
    std::filesystem::rename(next, path);
    EXPECT_EQ(model.availability(), Availability::modelNotReady);
    EXPECT_EQ(model.settle(patience), Availability::available);
    EXPECT_EQ(titleFrom(model), "Le \"x");

    // Cut off under the feet of the host that has it mapped, then whole again.
    std::filesystem::resize_file(path, 5000);
    EXPECT_EQ(titleFrom(model), "(engine)");
    EXPECT_EQ(model.settle(patience), Availability::unavailable);
    write(path, bytesOf(made("says")));
    EXPECT_EQ(titleFrom(model), "Facture deau froide");
    std::filesystem::remove(path);
    EXPECT_EQ(model.availability(), Availability::unavailable);
}

TEST(RemoteLanguageModel, AFileThatWasGoneForAMomentIsTheSameModel) {
    const Folder folder;
    std::filesystem::create_symlink(made("says"), folder.file("lien"));
    RemoteLanguageModel model(settingsFor(folder.file("lien")));
    ASSERT_EQ(model.settle(patience), Availability::available);
    std::filesystem::remove(folder.file("lien"));
    EXPECT_EQ(model.availability(), Availability::unavailable);
    std::filesystem::create_symlink(made("says"), folder.file("lien"));
    EXPECT_EQ(model.settle(patience), Availability::available);
    EXPECT_EQ(model.facts().name, "Vesto test");
    EXPECT_FALSE(model.supportsLanguage("de"));
}

TEST(RemoteLanguageModel, WhatCouldNotBeLoadedIsTriedAgainAfterAPause) {
    struct Row {
        const char* program;
        std::string bytes; // of the model
        Obstacle obstacle;
        Availability availability = Availability::unavailable;
    };
    const Row rows[] = {
        {VESTO_MODEL_HOST, "Chère Madame,\n", Obstacle::refused},
        {VESTO_BRIEF_MODEL " crash", bytesOf(made("says")), Obstacle::dies},
        {VESTO_BRIEF_MODEL " poor", bytesOf(made("says")), Obstacle::memory, Availability::deviceNotEligible},
        {"false", bytesOf(made("says")), Obstacle::dies},
    };
    const Folder folder;
    std::vector<std::unique_ptr<RemoteLanguageModel>> models;
    const auto count = [&](std::size_t i) { return folder.file("count" + std::to_string(i)); };
    for (const Row& row : rows) {
        const std::size_t i = models.size();
        const auto file = folder.file("model" + std::to_string(i));
        write(file, row.bytes);
        auto settings = countedFor(file, folder.file("host" + std::to_string(i)), count(i), row.program);
        settings.recovery = 20s;
        models.push_back(std::make_unique<RemoteLanguageModel>(std::move(settings)));
        const auto look = [&] { return models.back()->settle(patience); };
        EXPECT_EQ(look(), row.availability);
        EXPECT_EQ(look(), row.availability);
        EXPECT_EQ(models.back()->facts().obstacle, row.obstacle);
        EXPECT_EQ(bytesOf(count(i)), "\n") << i;
    }
    std::this_thread::sleep_for(20s);
    for (std::size_t i = 0; i < models.size(); ++i) {
        EXPECT_EQ(models[i]->settle(patience), rows[i].availability);
        EXPECT_EQ(bytesOf(count(i)), "\n\n") << i;
    }
}

TEST(RemoteLanguageModel, AHostThatLeavesIsStartedAgainWithWhatWasKept) {
    auto settings = settingsFor(made("says"));
    settings.program = VESTO_BRIEF_MODEL;
    settings.arguments = {"2000"}; // longer than its load and its work lie apart on a busy machine
    RemoteLanguageModel model(std::move(settings));
    EXPECT_EQ(titleFrom(model), "Facture deau froide");
    ASSERT_TRUE(comesToHaveNoHost(model));
    EXPECT_EQ(model.availability(), Availability::available); // asleep
    EXPECT_FALSE(model.process());                            // and not woken by the question
    EXPECT_EQ(titleFrom(model), "Facture deau froide");
    EXPECT_TRUE(model.facts().lastStartKept);
}

TEST(RemoteLanguageModelThreads, CancellingEndsTheWorkItself) {
    RemoteLanguageModel model(settingsFor(made("never")));
    ASSERT_EQ(titleFrom(model, "Relevé", 4), "(unusable)");
    const auto host = model.process();
    ASSERT_TRUE(host);
    const auto atFirst = workOf(*host);
    ASSERT_EQ(titleFrom(model, "Relevé", 1024), "(unusable)");
    const auto whole = workOf(*host) - atFirst;
    for (const auto delay : {0ms, 1ms, 20ms, 60ms}) {
        std::string answer;
        for (int tries = 0; tries < 3 && answer != "(cancelled)"; ++tries) { // it may be done before
            const auto before = workOf(*host);
            std::stop_source stop;
            auto title = std::async([&] { return titleFrom(model, "Relevé", 1024, stop.get_token()); });
            std::this_thread::sleep_for(delay);
            stop.request_stop();
            answer = title.get();
            if (workOf(*host) - before > whole / 2)
                answer = "(cancelled for us alone)";
        }
        EXPECT_EQ(answer, "(cancelled)");
    }
    EXPECT_EQ(model.process(), host); // it stopped; nobody had to end it
    EXPECT_EQ(titleFrom(model, "Relevé", 4), "(unusable)");
}

TEST(RemoteLanguageModelThreads, AHostThatIsKilledCostsOneTitle) {
    RemoteLanguageModel model(settingsFor(made("never")));
    std::string answer;
    std::optional<pid_t> host;
    for (int tries = 0; tries < 3 && answer != "(engine)"; ++tries) { // it may be done before
        ASSERT_EQ(titleFrom(model, "Relevé", 4), "(unusable)");
        host = model.process();
        ASSERT_TRUE(host);
        const auto before = workOf(*host);
        auto title = std::async([&] { return titleFrom(model, "Relevé", 1024); });
        // One that was not asked yet would cost nothing.
        for (int i = 0; i < 30'000 && workOf(*host) < before + 20ms; ++i)
            std::this_thread::sleep_for(1ms);
        ASSERT_EQ(::kill(*host, SIGKILL), 0);
        answer = title.get();
    }
    EXPECT_EQ(answer, "(engine)");
    EXPECT_EQ(model.availability(), Availability::available);
    EXPECT_EQ(titleFrom(model, "Relevé", 4), "(unusable)");
    EXPECT_NE(model.process(), host);
}

TEST(RemoteLanguageModelThreads, AHostThatIsKilledBeforeItIsReadyIsStartedAgain) {
    const Folder folder;
    const auto program = folder.file("host");
    // Is killed as often as a file has lines.
    write(program, "#!/bin/sh\nif [ -s '" + folder.file("kills").native() + "' ]; then sed -i 1d '" +
                       folder.file("kills").native() + "'; kill -9 $$; fi\nexec " VESTO_MODEL_HOST "\n");
    std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    auto settings = settingsFor(made("says"));
    settings.program = program;
    settings.recovery = 20s;
    RemoteLanguageModel model(settings);
    write(folder.file("kills"), "1\n2\n");
    EXPECT_EQ(titleFrom(model), "Facture deau froide");
    ASSERT_EQ(::kill(*model.process(), SIGKILL), 0);
    ASSERT_TRUE(comesToHaveNoHost(model));
    write(folder.file("kills"), "1\n2\n3\n4\n");
    EXPECT_EQ(titleFrom(model), "(engine)");
    EXPECT_EQ(model.facts().obstacle, Obstacle::dies);
    EXPECT_EQ(model.availability(), Availability::unavailable);
    std::this_thread::sleep_for(20s);
    EXPECT_EQ(model.settle(patience), Availability::available);
    EXPECT_EQ(titleFrom(model), "Facture deau froide");
}

TEST(RemoteLanguageModelThreads, ManyAskAtOnceAndTwoHaveAHostEach) {
    RemoteLanguageModel model(settingsFor(made("says")));
    RemoteLanguageModel other(settingsFor(made("escapes")));
    std::vector<std::future<std::string>> titles;
    for (int i = 0; i < 4; ++i) {
        titles.push_back(std::async([&] { return titleFrom(model); }));
        titles.push_back(std::async([&] { return titleFrom(other); }));
        model.prewarm(requestFor("").instructions);
        static_cast<void>(other.availability());
    }
    for (std::size_t i = 0; i < titles.size(); ++i)
        EXPECT_EQ(titles[i].get(), i % 2 == 0 ? "Facture deau froide" : "Le \"x");
    EXPECT_NE(model.process(), other.process());
}

TEST(RemoteLanguageModelThreads, EndsInTheMiddleOfAnything) {
    for (const auto delay : {0ms, 5ms, 40ms, 200ms}) {
        auto model = std::make_unique<RemoteLanguageModel>(settingsFor(made("never")));
        model->prewarm(requestFor("").instructions);
        static_cast<void>(model->availability());
        std::this_thread::sleep_for(delay);
        model.reset();
    }
    const Folder folder; // with a host that never says a word
    auto settings = countedFor(made("never"), folder.file("host"), folder.file("count"), "sleep 60");
    auto silent = std::make_unique<RemoteLanguageModel>(std::move(settings));
    static_cast<void>(silent->availability());
    std::this_thread::sleep_for(200ms);
    const auto start = std::chrono::steady_clock::now();
    silent.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - start, 15s);
    siginfo_t info{};
    EXPECT_NE(::waitid(P_ALL, 0, &info, WEXITED | WNOHANG), 0); // no process is left
}

} // namespace
} // namespace vesto::tests
