#include "app/views/ConfidenceMark.h"
#include "app/views/EmptyNote.h"
#include "app/views/ErrorStrip.h"
#include "app/views/Formats.h"
#include "app/views/Icons.h"
#include "app/views/Names.h"
#include "app/views/Tones.h"
#include "app/views/Words.h"
#include "tests/views/support/WindowWorld.h"

#include <gtest/gtest.h>

#include <QClipboard>
#include <QDateTime>
#include <QFont>
#include <QFontMetrics>
#include <QImage>
#include <QLabel>
#include <QPalette>
#include <QTabWidget>
#include <chrono>
#include <vector>

namespace vesto {
namespace {

QPalette palette(const char* window, const char* text, const char* base, const char* button) {
    QPalette colours;
    for (const auto group : {QPalette::Active, QPalette::Inactive}) {
        colours.setColor(group, QPalette::Window, QColor(QLatin1String(window)));
        colours.setColor(group, QPalette::WindowText, QColor(QLatin1String(text)));
        colours.setColor(group, QPalette::Text, QColor(QLatin1String(text)));
        colours.setColor(group, QPalette::Base, QColor(QLatin1String(base)));
        colours.setColor(group, QPalette::Button, QColor(QLatin1String(button)));
        colours.setColor(group, QPalette::Highlight, QColor(0x30, 0x8c, 0xc6));
    }
    return colours;
}

/// What the style really paints under the page of a tab.
QColor paintedTabPage(const QPalette& desktop) {
    QTabWidget tabs;
    tabs.setPalette(desktop);
    tabs.addTab(new QWidget, QStringLiteral("x"));
    tabs.resize(200, 200);
    WindowWorld::expose(tabs);
    return tabs.grab().toImage().pixelColor(100, 150);
}

TEST(Tones, AreReadableOnEveryGround) {
    constexpr double text = 4.5;
    constexpr double edge = 3;
    for (const QPalette& desktop : {palette("#efefef", "#000000", "#ffffff", "#efefef"),
                                    palette("#323232", "#f0f0f0", "#242424", "#3c3c3c"),
                                    palette("#f6f5f4", "#2e3436", "#ffffff", "#f6f5f4"),
                                    palette("#2a2e32", "#fcfcfc", "#1b1e20", "#31363b")}) {
        const Tones tones(desktop);
        const QColor window = desktop.color(QPalette::Window);
        const QColor base = desktop.color(QPalette::Base);
        const QColor windowText = desktop.color(QPalette::WindowText);
        EXPECT_EQ(utf8(tones.tabPage().name()), utf8(paintedTabPage(desktop).name()));
        const QList<QColor> rows{base, tones.selectedRow(), tones.hoveredRow()};
        const QList<QColor> everywhere = rows + QList<QColor>{window, tones.tabPage()};
        struct Row {
            const char* name;
            QColor ink;
            QList<QColor> grounds;
            double least;
        };
        for (const Row& row : std::vector<Row>{
                 {"success", tones.success(), everywhere, text},
                 {"caution", tones.caution(), everywhere, text},
                 {"failure", tones.failure(), everywhere, text},
                 {"secondary", tones.secondary(), rows, text},
                 {"secondaryOnWindow", tones.secondaryOnWindow(), {base, window, tones.tabPage()}, text},
                 {"text of a notice", windowText, {tones.noticeGround()}, text},
                 {"symbol of a notice", tones.caution(), {tones.noticeGround()}, edge},
                 {"focus", tones.focus(), {base}, edge},
                 {"edge", tones.edge(), {base}, edge}})
            for (const QColor& ground : row.grounds)
                EXPECT_GE(contrast(row.ink, ground), row.least)
                    << row.name << " " << row.ink.name().toStdString() << " on "
                    << ground.name().toStdString();
    }
}

TEST(ConfidenceMark, FollowsTheThreshold) {
    struct Row {
        double confidence;
        double threshold;
        const char* text;
    };
    for (const Row& row : std::vector<Row>{{0.87, 0.60, "confiance 87\u202F%, sûr"},
                                           {0.60, 0.60, "confiance 60\u202F%, sûr"},
                                           {0.60, 0.65, "confiance 60\u202F%, à vérifier"},
                                           {0.40, 0.95, "confiance 40\u202F%, à vérifier"},
                                           {0.39, 0.40, "confiance 39\u202F%, fragile"}}) {
        const ConfidenceMark mark(row.confidence, row.threshold);
        EXPECT_EQ(utf8(mark.accessibleText()), row.text);
    }
}

TEST(Names, AreShownWithoutWhatCouldTurnThem) {
    EXPECT_EQ(utf8(shownName("facture\u202Efdp.exe")), "facturefdp.exe");
    EXPECT_EQ(utf8(shownName("deux\nlignes\u2028.txt")), "deuxlignes.txt");
    EXPECT_EQ(utf8(shownName("caf\xE9.txt")), "caf\uFFFD.txt");
    EXPECT_EQ(utf8(quoted(shownName("a.pdf"))), "«\u00A0\u2068a.pdf\u2069\u00A0»");
}

TEST(Names, LeaveTheSentenceAroundThemAlone) {
    EXPECT_EQ(utf8(shownSentence("Accès perdu à « \u202Efdp\n ».")), "Accès perdu à «\u2068 fdp \u2069».");
    EXPECT_EQ(tip(QStringLiteral("<img src=x> & \"y\"")),
              QStringLiteral("<qt>&lt;img src=x&gt; &amp; &quot;y&quot;"));
    EXPECT_TRUE(tip({}).isEmpty()); // else there would be an empty one
}

TEST(ErrorStrip, ShowsAMessageAsTextAndLetsItBeCopied) {
    WindowWorld world;
    world.start(AppModel::Watching::none);
    QWidget window;
    window.resize(320, 200);
    auto* strip = new ErrorStrip(*world.model, &window);
    strip->resize(320, 60);
    WindowWorld::expose(window);
    const std::string message =
        "Le fichier est ici : /home/marie/<img src=x.png>" + std::string(400, 'a') + "/scan.pdf";
    world.model->showError(message);
    QLabel* label = nullptr;
    for (auto* each : strip->findChildren<QLabel*>())
        if (!each->text().isEmpty())
            label = each;
    ASSERT_NE(label, nullptr);
    EXPECT_EQ(label->textFormat(), Qt::PlainText);
    EXPECT_TRUE(label->toolTip().contains(QStringLiteral("&lt;img src=x.png&gt;")));
    QCoreApplication::processEvents();
    const QFontMetrics metrics = label->fontMetrics();
    EXPECT_LE(label->heightForWidth(label->width()), 3 * metrics.lineSpacing());
    const QStringList words =
        label->text().replace(QChar::LineSeparator, QLatin1Char(' ')).split(QLatin1Char(' '));
    for (const QString& word : words)
        EXPECT_LE(metrics.horizontalAdvance(word), label->width()) << utf8(word);
    EXPECT_TRUE(words.back().endsWith(QStringLiteral("/scan.pdf"))) << utf8(words.back()); // which file it is
    QTest::keyClick(label, Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(utf8(QApplication::clipboard()->text()), message);
}

TEST(Names, KeepTheirEndsWhenTheyAreCut) {
    const QFontMetrics metrics{QFont()};
    const QString name = shown("2026-11-12 Réunion préparatoire de la communication du trimestre.m4a");
    const int whole = metrics.horizontalAdvance(name);
    EXPECT_EQ(elideName(name, metrics, whole), name);
    for (const int width : {whole - 1, whole * 2 / 3, whole / 3, whole / 4}) {
        const QString cut = elideName(name, metrics, width);
        SCOPED_TRACE(utf8(cut));
        EXPECT_TRUE(cut.endsWith(shown("rimestre.m4a")));
        EXPECT_LE(metrics.horizontalAdvance(cut), width);
        EXPECT_LT(cut.size(), name.size());
    }
    // Where not even the end fits, as much of it as can be read; never more than there is room for.
    for (const char* each : {"14.03.27.m4a", "document-final-2.pdf", "scan_0012.pdf", "a.pdf"}) {
        const QString shortName = shown(each);
        const int full = metrics.horizontalAdvance(shortName);
        for (int width = full - 1; width > full / 2; width -= 3) {
            const QString cut = elideName(shortName, metrics, width);
            SCOPED_TRACE(utf8(cut));
            EXPECT_LE(metrics.horizontalAdvance(cut), width);
            EXPECT_TRUE(cut.contains(QChar(0x2026)));
        }
    }
}

TEST(Words, NumbersAndDatesAreFrench) {
    EXPECT_EQ(utf8(plural(0, "%n proposition", "%n propositions")), "0 proposition");
    EXPECT_EQ(utf8(plural(1, "%n proposition", "%n propositions")), "1 proposition");
    EXPECT_EQ(utf8(plural(1234, "%n proposition", "%n propositions")), "1\u202F234 propositions");
    EXPECT_EQ(utf8(french("%1 et %2", QStringLiteral("100 %2"), QStringLiteral("b"))), "100 %2 et b");

    const QDate today(2026, 11, 21);
    const auto at = [](const QDate& day, const QTime& time) {
        return Instant(std::chrono::milliseconds(QDateTime(day, time).toMSecsSinceEpoch()));
    };
    const QTime evening(18, 20);
    EXPECT_EQ(utf8(shortDateTime(at(today, evening), today)), "18:20");
    EXPECT_EQ(utf8(shortDateTime(at(today.addDays(-1), evening), today)), "Hier 18:20");
    EXPECT_EQ(utf8(shortDateTime(at(QDate(2026, 11, 19), evening), today)), "19 nov.");
    EXPECT_EQ(utf8(shortDateTime(at(QDate(2025, 11, 3), evening), today)), "3 nov. 2025");
    EXPECT_EQ(utf8(tableDateTime(at(today, evening), today)), "18:20");
    EXPECT_EQ(utf8(tableDateTime(at(today.addDays(-1), evening), today)), "Hier 18:20");
    EXPECT_EQ(utf8(tableDateTime(at(QDate(2026, 11, 19), evening), today)), "19 nov. 18:20");
    EXPECT_EQ(utf8(tableDateTime(at(QDate(2025, 11, 3), evening), today)), "3 nov. 2025");
    EXPECT_EQ(utf8(spokenDateTime(at(today, QTime(9, 5)), today)), "21 novembre 9 h 05");
    EXPECT_EQ(utf8(spokenDateTime(at(today, evening), QDate(2027, 1, 1))), "21 novembre 2026 18 h 20");
    EXPECT_EQ(utf8(longDateTime(at(today, QTime(9, 5)))), "21 novembre 2026 à 09:05");
}

TEST(Icons, AreAllThereInTheAskedColour) {
    const QColor colour(0x12, 0x80, 0xF0);
    for (int symbol = 0; symbol <= static_cast<int>(Symbol::warning); ++symbol) {
        const auto drawn = static_cast<Symbol>(symbol);
        SCOPED_TRACE(Icons::fileName(drawn).toStdString());
        const QImage image = Icons::own(drawn, colour).pixmap(64, 64).toImage();
        ASSERT_EQ(image.size(), QSize(64, 64));
        int inked = 0;
        for (int y = 0; y < 64; ++y)
            for (int x = 0; x < 64; ++x)
                if (const QColor pixel = image.pixelColor(x, y); pixel.alpha() == 255) {
                    EXPECT_NEAR(pixel.red(), colour.red(), 2);
                    EXPECT_NEAR(pixel.green(), colour.green(), 2);
                    EXPECT_NEAR(pixel.blue(), colour.blue(), 2);
                    ++inked;
                }
        EXPECT_GT(inked, 20);
    }
    EXPECT_GT(Icons::application().pixmap(64, 64).toImage().pixelColor(32, 100 / 2).alpha(), 0);
}

/// A layout that aligns a label asks for its height with its own width.
TEST(EmptyNote, ShowsAllItsLinesInAWiderWindow) {
    const WindowWorld world;
    EmptyNote note;
    note.set(Symbol::done, QStringLiteral("Rien à faire ici. ").repeated(12));
    note.resize(1200, 400);
    WindowWorld::expose(note);
    for (const QLabel* label : note.findChildren<QLabel*>())
        EXPECT_GE(label->height(), label->heightForWidth(label->width())) << utf8(label->text());
}

} // namespace
} // namespace vesto
