#include "app/views/SkippedSummary.h"

#include "app/views/Formats.h"
#include "app/views/NoteLabel.h"
#include "app/views/Words.h"

#include <QHBoxLayout>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>
#include <optional>

namespace vesto {
namespace {

constexpr int indent = 28;
constexpr int lineHeight = 28;

struct Offer {
    AlsoAnalyse which;
    std::string_view words;
};

std::optional<Offer> offerOf(BatchLine::Counter counter) {
    switch (counter) {
    case BatchLine::Counter::wellNamed:
        return Offer{AlsoAnalyse::wellNamed, "Analyser aussi"};
    case BatchLine::Counter::noTitleBefore:
        return Offer{AlsoAnalyse::noTitleBefore, "Réessayer"};
    case BatchLine::Counter::noTitle:
    case BatchLine::Counter::alreadyDone:
    case BatchLine::Counter::notLocal:
    case BatchLine::Counter::subfolders:
        break;
    }
    return std::nullopt;
}

} // namespace

SkippedSummary::SkippedSummary(QWidget* parent)
    : QWidget(parent)
    , m_title(new QToolButton(this))
    , m_body(new QWidget(this))
    , m_bodyColumn(new QVBoxLayout(m_body)) {
    m_title->setAutoRaise(true);
    m_title->setArrowType(Qt::DownArrow);
    m_title->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    m_title->setMinimumHeight(lineHeight);
    m_bodyColumn->setContentsMargins(indent, 0, 8, 0);
    m_bodyColumn->setSpacing(2);
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
    if (lines == m_lines)
        return;
    m_lines = lines;
    for (QObject* old : m_body->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly)) {
        static_cast<QWidget*>(old)->hide();
        old->deleteLater(); // it may be its own button that was pressed
    }
    while (QLayoutItem* item = m_bodyColumn->takeAt(0))
        delete item;
    std::size_t count = 0;
    for (const BatchLine& line : lines) {
        count += line.count;
        addLine(line);
    }
    m_title->setText(french("Fichiers laissés de côté : %1", number(count)));
    setVisible(!lines.empty());
}

void SkippedSummary::addLine(const BatchLine& line) {
    auto* whole = new QWidget(m_body);
    auto* row = new QHBoxLayout(whole);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(8);
    whole->setMinimumHeight(lineHeight);
    row->addWidget(new NoteLabel(shown(line.text), whole, NoteLabel::Tone::plain, 1), 1);
    if (const auto offer = offerOf(line.counter)) {
        auto* button = new QPushButton(french(offer->words), whole);
        button->setAutoDefault(false);
        button->setAccessibleDescription(shown(line.text));
        connect(button, &QPushButton::clicked, this, [this, which = offer->which] { Q_EMIT asked(which); });
        row->addWidget(button);
    }
    m_bodyColumn->addWidget(whole);
    whole->show();
}

} // namespace vesto
