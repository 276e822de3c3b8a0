#include "app/views/PreviewView.h"

#include "app/views/Icons.h"
#include "app/views/Shell.h"
#include "app/views/Tones.h"
#include "app/views/Words.h"

#include <QPainter>
#include <QPointer>
#include <QTextLayout>
#include <QTextOption>
#include <algorithm>
#include <chrono>
#include <utility>

namespace vesto {
namespace {

constexpr int mostImages = 12;
constexpr int mostLines = 8;
constexpr int symbolSide = 48;
constexpr int textMargin = 16;
constexpr QSize largest(720, 560); // device pixels that are kept of a picture
constexpr std::chrono::milliseconds delay(80);

/// A copy of the pixels; null where they are none.
QImage imageOf(const std::optional<Preview>& preview) {
    if (!preview || preview->rgba.empty())
        return {};
    const QImage whole(preview->rgba.data(), static_cast<int>(preview->width),
                       static_cast<int>(preview->height), static_cast<qsizetype>(preview->width) * 4,
                       QImage::Format_RGBA8888);
    const QSize size = whole.size().boundedTo(whole.size().scaled(largest, Qt::KeepAspectRatio));
    return whole.scaled(size, Qt::KeepAspectRatio, Qt::SmoothTransformation)
        .convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

} // namespace

PreviewView::PreviewView(Shell& shell, QWidget* parent)
    : QFrame(parent)
    , m_shell(shell)
    , m_images(mostImages) {
    setFrameStyle(static_cast<int>(QFrame::StyledPanel) | static_cast<int>(QFrame::Sunken));
    setBackgroundRole(QPalette::Mid);
    setAutoFillBackground(true);
    m_delay.setSingleShot(true);
    m_delay.setInterval(delay);
    connect(&m_delay, &QTimer::timeout, this, &PreviewView::askNext);
}

QSize PreviewView::sizeHint() const {
    return {320, 250};
}

void PreviewView::show(const Subject& subject, std::vector<Subject> neighbours) {
    // Shown again, it has been asked for: only who comes after it may be others.
    const bool isAnother = !m_subject || m_subject->id != subject.id;
    m_subject = subject;
    m_wanted = std::move(neighbours);
    m_wanted.insert(m_wanted.begin(), subject);
    setAccessibleName(french("Aperçu de %1", subject.name));
    setAccessibleDescription(subject.lines.join(QLatin1Char('\n')));
    if (isAnother || (!m_delay.isActive() && !m_isAsking))
        m_delay.start();
    update();
}

void PreviewView::clear() {
    m_subject.reset();
    m_wanted.clear();
    m_delay.stop();
    m_images.clear();
    setAccessibleName(french("Aperçu"));
    update();
}

bool PreviewView::isSettled() const {
    return m_subject && m_images.contains(shown(m_subject->id));
}

bool PreviewView::hasPicture() const {
    return isSettled() && !m_images.object(shown(m_subject->id))->isNull();
}

void PreviewView::askNext() {
    if (m_isAsking)
        return;
    std::erase_if(m_wanted, [this](const Subject& each) { return m_images.contains(shown(each.id)); });
    if (m_wanted.empty())
        return;
    m_isAsking = true;
    const Subject next = m_wanted.front();
    m_shell.preview(
        next.file, [view = QPointer<PreviewView>(this), id = next.id](const std::optional<Preview>& preview) {
            if (view)
                view->take(id, preview);
        });
}

void PreviewView::take(const std::string& id, const std::optional<Preview>& preview) {
    m_isAsking = false;
    m_images.insert(shown(id), new QImage(imageOf(preview))); // the cache owns it
    if (m_subject && m_subject->id == id)
        update();
    askNext();
}

void PreviewView::paintText(QPainter& painter, const QRect& place) const {
    const QRect ground = place.adjusted(textMargin, textMargin, -textMargin, -textMargin);
    QTextOption option;
    option.setWrapMode(QTextOption::NoWrap);
    painter.setFont(secondaryFont(font()));
    painter.setPen(Tones(palette()).secondary());
    const int height = painter.fontMetrics().lineSpacing() + 4;
    int top = ground.top();
    for (const QString& line :
         m_subject->lines.first(std::min<qsizetype>(m_subject->lines.size(), mostLines))) {
        const QString fitting = painter.fontMetrics().elidedText(line, Qt::ElideRight, ground.width());
        painter.drawText(QRect(ground.left(), top, ground.width(), height),
                         static_cast<int>(Qt::AlignLeft | Qt::AlignVCenter) | Qt::TextSingleLine, fitting);
        top += height;
        if (top + height > ground.bottom())
            break;
    }
}

void PreviewView::paintEvent(QPaintEvent* event) {
    QFrame::paintEvent(event);
    if (!m_subject)
        return;
    QPainter painter(this);
    const QRect place = contentsRect();
    const QImage* image = m_images.object(shown(m_subject->id));
    if (image != nullptr && !image->isNull()) {
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        const QSize room = place.size() - QSize(16, 16);
        QRect target(QPoint(0, 0), (image->size() / devicePixelRatioF()).scaled(room, Qt::KeepAspectRatio));
        target.moveCenter(place.center());
        painter.drawImage(target, *image);
        return;
    }
    painter.fillRect(place, palette().color(QPalette::Base));
    if (image != nullptr && !m_subject->lines.isEmpty()) {
        paintText(painter, place);
        return;
    }
    QRect symbol(0, 0, symbolSide, symbolSide);
    symbol.moveCenter(place.center());
    Icons::paint(painter, symbol, Icons::ofKind(m_subject->kind), Tones(palette()).secondary());
}

} // namespace vesto
