#include "app/views/SkippedSummary.h"

#include "app/views/Formats.h"
#include "app/views/NoteLabel.h"
#include "app/views/Words.h"

#include <QHBoxLayout>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>
#include <algorithm>
#include <optional>

namespace vesto {
namespace {

constexpr int indent = 28;
constexpr int lineHeight = 28;

using Counter = BatchLine::Counter;

struct Offer {
    AlsoAnalyse which;
    std::string_view words;
};

std::optional<Offer> offerOf(Counter counter) {
    switch (counter) {
    case Counter::wellNamed:
        return Offer{AlsoAnalyse::wellNamed, "Analyser aussi"};
    case Counter::noTitleBefore:
        return Offer{AlsoAnalyse::noTitleBefore, "Réessayer"};
    case Counter::noTitle:
    case Counter::alreadyDone:
    case Counter::notLocal:
    case Counter::subfolders:
        break;
    }
    return std::nullopt;
}

} // namespace

SkippedSummary::SkippedSummary(QWidget* parent)
    : QWidget(parent)
    , m_title(new QToolButton(this))
    , m_body(new QWidget(this)) {
    m_title->setAutoRaise(true);
    m_title->setArrowType(Qt::DownArrow);
    m_title->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    m_title->setMinimumHeight(lineHeight);
    auto* body = new QVBoxLayout(m_body);
    body->setContentsMargins(indent, 0, 8, 0);
    body->setSpacing(2);
    for (const Counter counter : {Counter::wellNamed, Counter::noTitleBefore, Counter::noTitle,
                                  Counter::alreadyDone, Counter::notLocal, Counter::subfolders}) {
        m_rows.emplace(counter, makeRow(counter));
        body->addWidget(m_rows.at(counter).whole);
    }
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 8, 0, 0);
    column->setSpacing(2);
    column->addWidget(m_title, 0, Qt::AlignLeft);
    column->addWidget(m_body);
    connect(m_title, &QToolButton::clicked, this, [this] {
        const bool isOpen = m_body->isHidden();
        m_body->setVisible(isOpen);
        m_title->setArrowType(isOpen ? Qt::DownArrow : Qt::RightArrow);
    });
    setVisible(false);
}

void SkippedSummary::show(const std::vector<BatchLine>& lines) {
    std::size_t count = 0;
    for (const auto& [counter, row] : m_rows) {
        const auto line = std::ranges::find(lines, counter, &BatchLine::counter);
        row.whole->setVisible(line != lines.end());
        if (line == lines.end())
            continue;
        count += line->count;
        row.text->setText(shown(line->text));
        if (row.button != nullptr)
            row.button->setAccessibleDescription(row.text->text());
    }
    m_title->setText(french("Fichiers laissés de côté : %1", number(count)));
    setVisible(!lines.empty());
}

SkippedSummary::Row SkippedSummary::makeRow(Counter counter) {
    Row made{.whole = new QWidget(m_body)};
    auto* row = new QHBoxLayout(made.whole);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(8);
    made.whole->setMinimumHeight(lineHeight);
    made.text = new NoteLabel({}, made.whole, NoteLabel::Tone::plain, 1);
    row->addWidget(made.text, 1);
    if (const auto offer = offerOf(counter)) {
        made.button = new QPushButton(french(offer->words), made.whole);
        made.button->setAutoDefault(false);
        connect(made.button, &QPushButton::clicked, this,
                [this, which = offer->which] { Q_EMIT asked(which); });
        row->addWidget(made.button);
    }
    return made;
}

} // namespace vesto
