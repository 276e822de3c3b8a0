#include "app/views/BatchPreview.h"

#include "app/model/AppModel.h"
#include "app/model/EvidenceSheet.h"
#include "app/views/EvidenceView.h"
#include "app/views/Names.h"
#include "app/views/NoteLabel.h"
#include "app/views/PageParts.h"
#include "app/views/Words.h"
#include "core/files/FileName.h"

#include <QFrame>
#include <QPointer>
#include <QScrollArea>
#include <QVBoxLayout>
#include <algorithm>
#include <chrono>

namespace vesto {
namespace {

constexpr std::chrono::milliseconds delay(150);
constexpr std::size_t mostLines = 8;

} // namespace

BatchPreview::BatchPreview(AppModel& model, const Settings& settings, Shell& shell, QWidget* parent)
    : QWidget(parent)
    , m_model(model)
    , m_settings(settings)
    , m_picture(new PreviewView(shell, this))
    , m_name(new NoteLabel({}, this, NoteLabel::Tone::plain, 1))
    , m_old(new NoteLabel({}, this))
    , m_evidence(new EvidenceView) {
    m_picture->setMinimumHeight(120);
    m_picture->setMaximumHeight(250);
    auto* names = new QVBoxLayout;
    names->setSpacing(2);
    names->addWidget(m_name);
    names->addWidget(m_old);
    auto* scroller = new QScrollArea(this);
    scroller->setFrameShape(QFrame::NoFrame);
    scroller->setWidgetResizable(true);
    scroller->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroller->setWidget(m_evidence);
    scroller->setFocusPolicy(Qt::TabFocus);
    scroller->setAccessibleName(french("Preuves"));
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(12, 0, 16, 8);
    column->setSpacing(12);
    column->addWidget(m_picture, 3);
    column->addLayout(names);
    column->addWidget(PageParts::separator());
    column->addWidget(scroller, 4);
    m_lookDelay.setSingleShot(true);
    m_lookDelay.setInterval(delay);
    connect(&m_lookDelay, &QTimer::timeout, this, &BatchPreview::lookForName);
    clear();
}

PreviewView::Subject BatchPreview::subjectOf(const Batch::Item& item) const {
    const auto* renamed = std::get_if<Batch::Renamed>(&item.state);
    const auto& url = item.proposal.url;
    PreviewView::Subject subject{.id = item.proposal.id,
                                 .file = renamed == nullptr ? url : siblingOf(url, renamed->newName),
                                 .kind = item.proposal.summary.kind,
                                 .name = shownName(lastComponentOf(url))};
    for (const std::string& line : item.proposal.summary.lines) {
        if (static_cast<std::size_t>(subject.lines.size()) == mostLines)
            break;
        subject.lines.push_back(shownName(line));
    }
    return subject;
}

void BatchPreview::show(const Batch::Item& item, const std::string& title, std::size_t namesakes,
                        const std::vector<const Batch::Item*>& neighbours) {
    std::vector<PreviewView::Subject> next;
    next.reserve(neighbours.size());
    for (const Batch::Item* each : neighbours)
        next.push_back(subjectOf(*each));
    m_picture->show(subjectOf(item), std::move(next));
    Shown now{item.proposal.id, title,
              item.state,       m_model.baseNameFor(title, item.proposal),
              namesakes,        m_settings.autoThreshold()};
    if (m_shown == now) { // as at every file that is analysed meanwhile
        if (m_proposal && !m_lookDelay.isActive())
            m_lookDelay.start(); // a name may have been taken
        return;
    }
    m_namesakes = namesakes;
    showName(item, now.baseName);
    m_shown = std::move(now);
    m_old->setText(french("au lieu de %1", quoted(shownName(lastComponentOf(item.proposal.url)))));
    m_evidence->setSheet(evidenceSheet(item.proposal, title), m_settings.autoThreshold());
    m_evidence->setVisible(true);
}

void BatchPreview::showName(const Batch::Item& item, const std::optional<std::string>& baseName) {
    m_lookDelay.stop();
    m_proposal.reset();
    m_name->setTone(NoteLabel::Tone::plain);
    m_name->setToolTip({});
    if (const auto* renamed = std::get_if<Batch::Renamed>(&item.state)) {
        m_name->setText(leftToRight(shownName(renamed->newName)));
    } else if (baseName) {
        m_proposal = item.proposal;
        m_baseName = *baseName;
        m_plainName =
            item.proposal.policy.fileName(*baseName, extensionOf(lastComponentOf(item.proposal.url)));
        m_name->setText(leftToRight(shownName(m_plainName)));
        m_lookDelay.start();
    } else {
        m_name->setText(french("Titre vide."));
        m_name->setTone(NoteLabel::Tone::failure);
    }
}

void BatchPreview::lookForName() {
    if (!m_proposal)
        return;
    m_model.lookUpNames({{m_proposal->url, m_baseName, m_proposal->policy, m_namesakes}},
                        [view = QPointer<BatchPreview>(this), id = m_proposal->id, wanted = m_plainName,
                         namesakes = m_namesakes](const std::vector<std::string>& names) {
                            if (view && view->m_proposal && view->m_proposal->id == id &&
                                view->m_namesakes == namesakes)
                                view->takeName(wanted, names.front());
                        });
}

void BatchPreview::takeName(const std::string& wanted, const std::string& name) {
    if (wanted != m_plainName)
        return; // something else was written meanwhile
    m_name->setText(leftToRight(shownName(name)));
    m_name->setToolTip(name == wanted    ? QString()
                       : m_namesakes > 0 ? french("Un autre fichier de ce lot prend ce nom.")
                                         : french("Un fichier porte déjà ce nom."));
}

void BatchPreview::forgetPictures() {
    m_picture->clear();
    m_shown.reset();
}

void BatchPreview::clear() {
    m_shown.reset();
    m_proposal.reset();
    m_lookDelay.stop();
    m_picture->clear();
    m_name->clear();
    m_old->clear();
    m_evidence->setVisible(false);
}

QString BatchPreview::finalName() const {
    return m_name->text().remove(QChar(0x200E));
}

} // namespace vesto
