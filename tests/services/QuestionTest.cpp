#include "services/ipc/Question.h"

#include <gtest/gtest.h>

#include <chrono>

namespace vesto::ipc {
namespace {

const Question question{.about = Question::About::preview,
                        .route = Route::video,
                        .type = "public.mpeg-4",
                        .fileName = "caf\xE9 \n.mp4",
                        .bestDate = Instant(std::chrono::microseconds(-5)),
                        .recognitionLanguages = {"fr-FR", "en-US"}};

TEST(Question, ComesBackAsItWasSent) {
    Question longest = question;
    longest.fileName.assign(765, 'a'); // what FAT and NTFS allow
    for (const Question& asked : {question, Question{}, longest}) {
        const std::string bytes = encode(asked);
        EXPECT_EQ(decodeQuestion(bytes), asked);
        for (std::size_t size = 0; size < bytes.size(); ++size)
            EXPECT_EQ(decodeQuestion(bytes.substr(0, size)), std::nullopt) << size;
        EXPECT_EQ(decodeQuestion(bytes + 'x'), std::nullopt);
    }
    for (const Jail jail : {Jail::full, Jail::reduced, Jail::none, Jail::refused})
        EXPECT_EQ(decodeGreeting(encode(Greeting{jail})), Greeting{jail});
}

TEST(Question, IsRefusedWhereItIsNotOurs) {
    std::vector<Question> rows(5, question);
    rows[0].fileName = "dossier/a.txt";
    rows[1].fileName = std::string("a\0b", 3);
    rows[2].fileName.assign(1025, 'a');
    rows[3].type = "\xFF";
    rows[4].recognitionLanguages.assign(17, "fr");
    for (std::size_t i = 0; i < rows.size(); ++i)
        EXPECT_EQ(decodeQuestion(encode(rows[i])), std::nullopt) << "row " << i;

    std::string other = encode(question);
    other[0] = 'x'; // another version
    EXPECT_EQ(decodeQuestion(other), std::nullopt);
    std::string greeting = encode(Greeting{Jail::full});
    greeting.back() = 4;
    EXPECT_EQ(decodeGreeting(greeting), std::nullopt);
}

} // namespace
} // namespace vesto::ipc
