#include "core/extraction/readers/mail/EmailReader.h"

#include "core/extraction/readers/DocumentText.h"
#include "core/extraction/readers/LineCollector.h"
#include "core/extraction/readers/mail/MailHeaders.h"
#include "core/support/UnicodeDates.h"
#include "tests/readers/support/TemporaryFile.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <vector>

namespace vesto::readers {
namespace {

using Lines = std::vector<std::string>;

const Instant fileDate{std::chrono::sys_days{std::chrono::year{2024} / 5 / 6}};

std::expected<ContentSummary, SummarizerError> read(std::string_view bytes) {
    const UniqueFd file = tests::temporaryFile(bytes);
    return summarizeEmail(
        {.fd = file.get(), .path = "a.eml", .type = {"com.apple.mail.email"}, .bestDate = fileDate}, {});
}

Lines linesOf(std::string_view bytes) {
    const auto summary = read(bytes);
    return summary ? summary->lines : Lines{"unreadable"};
}

std::string part(const std::string& head, const std::string& body, const std::string& boundary = "b") {
    return "--" + boundary + "\r\n" + head + "\r\n\r\n" + body + "\r\n";
}

TEST(EmailReader, GivesSubjectSenderDateAndBodyInThisOrder) {
    const auto summary = read("From: =?utf-8?Q?Ren=C3=A9e?= Roux <renee@exemple.fr>\r\n"
                              "Date: Wed, 5 Mar 2025 10:20:30 +0100\r\n"
                              "To: moi@exemple.fr\r\n"
                              "Subject: Facture\r\n d'eau\r\n\r\n"
                              "Bonjour,\r\n\r\nVoici la facture du 01/02/2025 au 28/02/2025.\r\n");
    ASSERT_TRUE(summary);
    const Instant date = *unicode::instantOf({2025, 3, 5, 9, 20, 30}, "UTC");
    const std::string shown = unicode::formatDate(date, "d MMMM yyyy 'à' HH:mm", Locale("fr_FR"));
    EXPECT_EQ(*summary,
              (ContentSummary{.kind = ContentSummary::Kind::email,
                              .lines = {"Facture d'eau", "De : Renée Roux", "Date : " + shown, "Bonjour,",
                                        "Voici la facture du 01/02/2025 au 28/02/2025."},
                              .date = date,
                              .period = DocumentPeriodExtractor::Period{2, 2025}}));
    const auto unbelievable = read("Subject: Facture\nDate: hier\n\nseptembre 2025");
    ASSERT_TRUE(unbelievable);
    EXPECT_EQ(unbelievable->lines, (Lines{"Facture", "Date : hier", "septembre 2025"}));
    EXPECT_EQ(unbelievable->date, fileDate);
    EXPECT_EQ(unbelievable->period, std::nullopt);
}

TEST(EmailReader, RefusesWhatIsNoMessage) {
    EXPECT_FALSE(read(""));
    EXPECT_FALSE(read("Bonjour tout le monde"));
    EXPECT_FALSE(read("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1"));
    EXPECT_FALSE(read("Titre: quelque chose\n\ntexte"));
    EXPECT_EQ(linesOf("\xEF\xBB\xBF\r\nFrom moi Wed Mar 5 2025\r\nSubject: a"), Lines{"a"});
    EXPECT_EQ(linesOf("Subject: a\nceci n'est plus un en-tête\nb"),
              (Lines{"a", "ceci n'est plus un en-tête", "b"}));
}

TEST(MailHeaders, DecodeWords) {
    const std::vector<std::pair<std::string, std::string>> rows{
        {"=?utf-8?Q?Caf=C3=A9?= =?iso-8859-1?Q?_=E9t=E9?=", "Café été"},
        {"=?utf-8?Q?=C3?= =?utf-8?Q?=A9?=", "é"},
        {"=?utf-8?b?w6kgw6k?= suite", "é é suite"},
        {"=?iso-8859-1?Q?=80_=92?= =?latin-1?Q?=E9?= =?latin1?Q?=E9?= =?CP1252?Q?=9C?=", "€ ’ééœ"},
        {"=?utf-8*fr?Q?=C3=A9?=", "é"},
        {"=?iso-2022-jp?B?GyRCRnxLXDhsGyhC?=", "日本語"},
        {"Re: =?utf-8?Q?b?= c", "Re: b c"},
        {"brut \xE9t\xE9 \x96", "brut été –"},
        {"brut été", "brut été"},
        {"=?utf-8?X?abc?= =? =?? a=?b", "=?utf-8?X?abc?= =? =?? a=?b"},
    };
    for (const auto& [value, expected] : rows)
        EXPECT_EQ(mailHeaderText(value), expected) << value;
}

TEST(MailHeaders, NameTheSender) {
    const std::vector<std::pair<std::string, std::string>> rows{
        {"Jean Dupont <j@x.fr>", "Jean Dupont"},
        {"\"Dupont, Jean\" <j@x.fr>", "Dupont, Jean"},
        {"j@x.fr (Jean Dupont)", "Jean Dupont"},
        {"\"'Jean'\" <j@x.fr>", "Jean"},
        {"=?iso-8859-1?Q?Dupont,_L=E9a?= <j@x.fr>, a@b.c", "Dupont, Léa"},
        {"<j@x.fr>", "j@x.fr"},
        {"j@x.fr", "j@x.fr"},
        {"René [EXT] <j@x.fr>", "René [EXT]"},
        {"Service client", "Service client"},
        {"", ""},
    };
    for (const auto& [value, expected] : rows)
        EXPECT_EQ(mailSender(value), expected) << value;
}

TEST(EmailReader, ReadsLargeMessagesUpToABound) {
    const UniqueFd file = tests::temporaryFile("Subject: Photos des vacances\n\nVoici les photos.\n");
    const auto linesAt = [&](off_t bytes) {
        EXPECT_EQ(::ftruncate(file.get(), bytes), 0); // a hole takes no room on the disk
        return summarizeEmail(
            {.fd = file.get(), .path = "a.eml", .type = {"com.apple.mail.email"}, .bestDate = fileDate}, {});
    };
    const auto summary = linesAt(60'000'000);
    ASSERT_TRUE(summary);
    EXPECT_EQ(summary->lines.front(), "Photos des vacances");
    EXPECT_FALSE(linesAt(209'715'201));
}

TEST(MailHeaders, ReadDates) {
    const auto utc = [](int hour, int minute = 20, int second = 30) {
        return unicode::instantOf({2025, 3, 5, hour, minute, second}, "UTC");
    };
    const std::vector<std::pair<std::string, std::optional<Instant>>> rows{
        {"Wed, 5 Mar 2025 10:20:30 +0100", utc(9)},
        {"5 Mar 2025 10:20:30 -0500", utc(15)},
        {"Wed, 05 Mar 2025 10:20 +0100", utc(9, 20, 0)},
        {"5 Mar 2025 10:20 +0000", utc(10, 20, 0)},
        {"Wed, 5 Mar 2025 10:20:30 GMT", utc(10)},
        {"5 Mar 2025 10:20:30 EST", utc(15)},
        {"5 Mar 2025 10:20:30 CEST", utc(8)},
        {"5 Mar 2025 10:20:30 +02:00", utc(8)},
        {"5 Mar 2025 10:20:30 GMT+02:00", utc(8)},
        {"5 Mar 2025 10:20:30 GMT+2", utc(8)},
        {"5 Mar 2025 10:20:30 gmt-0530", utc(15, 50)},
        {"5 Mar 2025 10:20:30 UTC+1", utc(9)},
        {"5 Mar 2025 10:20:30 UTC", utc(10)},
        {"5 Mar 2025 10:20:30 GMT+x", utc(10)},
        {"Wed, 5 Mar 2025 10:20:30 +0100 (CET)", utc(9)},
        {"31 Feb 2025 10:20:30 +0000", std::nullopt},
        {"5 Mar 2025 25:61:61 +0000", std::nullopt},
        {"1 Jan 1970 00:00:00 +0000", std::nullopt},
        {"99999999999999999999 Mar 99999999999999 1:1:1 +0000", std::nullopt},
        {"demain", std::nullopt},
        {"", std::nullopt},
    };
    for (const auto& [value, expected] : rows)
        EXPECT_EQ(mailDate(value), expected) << value;
}

TEST(EmailReader, ReadsBodies) {
    const std::string mixed =
        "Subject: s\r\nContent-Type: multipart/mixed; boundary=\"b\"\r\n\r\nne se voit pas\r\n";
    const std::string alternative = "Content-Type: multipart/alternative; boundary=c";
    const std::string html = part("Content-Type: text/html; charset=iso-8859-1",
                                  "<style>p{}</style><p>Caf\xE9</p><meta charset=utf-8>", "c");
    struct Row {
        std::string_view what;
        std::string bytes;
        Lines lines;
    };
    const std::vector<Row> rows{
        {"quoted-printable, windows-1252",
         "Subject: s\nContent-Type: text/plain; charset=iso-8859-1\nContent-Transfer-Encoding: "
         "Quoted-Printable\n\nl=92=E9t=\ne =80",
         {"s", "l’éte €"}},
        {"base64 without an end",
         "Subject: s\nContent-Transfer-Encoding: base64\n\nQ2Fmw6kgY3LD\nqG1lIQ==\n",
         {"s", "Café crème!"}},
        {"no charset, and a wrong one", "Subject: s\n\nCaf\xE9", {"s", "Café"}},
        {"a wrong one", "Subject: s\nContent-Type: text/plain; charset=us-ascii\n\nCafé", {"s", "Café"}},
        {"an unknown one",
         "Subject: s\nContent-Type: text/plain; charset=x-inconnu\n\nCaf\xE9",
         {"s", "Café"}},
        {"a stateful one",
         "Subject: s\nContent-Type: text/plain; charset=iso-2022-jp\n\n\x1B$BF|K\\8l\x1B(B",
         {"s", "日本語"}},
        {"nested: the plain alternative, no attachment, no picture",
         mixed +
             part(alternative, part("Content-Type: text/plain; charset=utf-8", "é", "c") + html + "--c--") +
             part("Content-Type: text/plain; name=notes.txt", "x") +
             part("Content-Type: text/html\r\nContent-Disposition: attachment; filename=\"a.html\"", "x") +
             part("Content-Type: image/png\r\nContent-Transfer-Encoding: base64", "aGVsbG8=") +
             part("Content-Type: text/plain", "suite") + "--b--\r\nne se voit pas",
         {"s", "é", "suite"}},
        {"only HTML, or nothing beside it",
         mixed + part(alternative, part("Content-Type: text/plain", " \r\n", "c") + html) + "--b--",
         {"s", "Café"}},
        {"HTML that names its charset itself",
         "Subject: s\nContent-Type: text/html\n\n<meta charset=iso-8859-15><p>\xA4",
         {"s", "€"}},
        {"a message inside",
         mixed + part("Content-Type: text/plain", "Pour info") +
             part("Content-Type: message/rfc822", "Subject: dedans\r\nFrom: a@b.fr\r\n\r\ntexte") + "--b--",
         {"s", "Pour info", "dedans", "De : a@b.fr", "texte"}},
        {"a digest",
         "Subject: s\nContent-Type: multipart/digest; boundary=b\n\n" + part("", "Subject: un\r\n\r\n1") +
             part("", "Subject: deux\r\n\r\n2"),
         {"s", "un", "1", "deux", "2"}},
        {"a boundary that nobody named",
         "Subject: s\nContent-Type: multipart/mixed\n\n--x\n\na\n--x--\n",
         {"s", "a"}},
        {"a boundary that never comes", "Subject: s\nContent-Type: multipart/mixed; boundary=y\n\na", {"s"}},
        {"a boundary that begins another",
         "Subject: s\nContent-Type: multipart/mixed; boundary=b\n\n--b\n\na\n--bc\nd\n--b  \n\ne\n",
         {"s", "a", "--bc", "d", "e"}},
        {"an attachment alone",
         "Subject: s\nContent-Type: application/pdf; name=a.pdf\nContent-Transfer-Encoding: base64\n\nJVBE",
         {"s"}},
        {"signature and quotes",
         "Subject: s\n\nJe confirme le rendez-vous de mardi.\n> Peut-on se voir ?\n-- \nJean, 06 00 00 00 00",
         {"s", "Je confirme le rendez-vous de mardi."}},
        {"quotes where nothing else stands",
         "Subject: s\n\nOK\n> > Peut-on se voir ?",
         {"s", "OK", "Peut-on se voir ?"}},
        {"flowed lines",
         "Subject: s\nContent-Type: text/plain; format=flowed\n\nUne phrase \nen deux.\n> a \n> b",
         {"s", "Une phrase en deux.", "a", "b"}},
        {"binary bodies", std::string("Subject: s\n\n\0\1\2\3", 16), {"s"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(linesOf(row.bytes), row.lines);
    }
}

TEST(EmailReader, EndsOnHostileMessages) {
    std::string nested = "Subject: s\n";
    for (int i = 0; i < 5'000; ++i)
        nested += "Content-Type: multipart/mixed; boundary=" + std::to_string(i) + "\n\n--" +
                  std::to_string(i) + "\n";
    EXPECT_EQ(linesOf(nested + "\nfin"), Lines{"s"});
    std::string inside = "Subject: s\n";
    for (int i = 0; i < 5'000; ++i)
        inside += "Content-Type: message/rfc822\n\n";
    EXPECT_EQ(linesOf(inside + "\nfin"), Lines{"s"});
    for (const std::string piece :
         {"--b\n", "--", "a:\n", "To: a:\n", "Subject: =?utf-8?Q?a?=\n", " =?utf-8?B?=?=\n", "From: (a:\n",
          " a:b,(", "Content-Type: multipart/mixed; boundary=b\n\n--b\n"}) {
        SCOPED_TRACE(piece);
        std::string bytes = "Subject: a\nContent-Type: multipart/mixed; boundary=b\nFrom: ";
        while (bytes.size() < 4 << 20)
            bytes += piece;
        const auto summary = read(bytes);
        ASSERT_TRUE(summary);
        EXPECT_LE(joinedLines(summary->lines).size(), 8 * maxCharacters);
    }
}

} // namespace
} // namespace vesto::readers
