#include "app/views/Icons.h"

#include <QFile>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>
#include <QPixmap>
#include <QPixmapCache>
#include <QSvgRenderer>
#include <algorithm>
#include <utility>

// The drawings stand in a static library; the linker would leave them out. The macro declares a function of
// the global namespace.
static void keepDrawings() { // NOLINT(misc-use-anonymous-namespace)
    Q_INIT_RESOURCE(vesto_drawings);
}

namespace vesto {
namespace {

struct Names {
    const char* file;
    const char* theme = nullptr; // nothing where no theme has it
};

Names namesOf(Symbol symbol) {
    switch (symbol) {
    case Symbol::absent:
        return {"vesto-absent"};
    case Symbol::accept:
        return {"vesto-accept"};
    case Symbol::addFolder:
        return {"vesto-add-folder", "folder-new"};
    case Symbol::analyse:
        return {"vesto-analyse"};
    case Symbol::automatic:
        return {"vesto-automatic"};
    case Symbol::done:
        return {"vesto-done"};
    case Symbol::edit:
        return {"vesto-edit"};
    case Symbol::error:
        return {"vesto-error", "dialog-error"};
    case Symbol::folder:
        return {"vesto-folder", "folder"};
    case Symbol::history:
        return {"vesto-history", "document-open-recent"};
    case Symbol::ignore:
        return {"vesto-ignore", "window-close"};
    case Symbol::info:
        return {"vesto-info", "dialog-information"};
    case Symbol::kindAudio:
        return {"vesto-kind-audio"};
    case Symbol::kindDocument:
        return {"vesto-kind-document"};
    case Symbol::kindEbook:
        return {"vesto-kind-ebook"};
    case Symbol::kindEmail:
        return {"vesto-kind-email"};
    case Symbol::kindImage:
        return {"vesto-kind-image"};
    case Symbol::kindPDF:
        return {"vesto-kind-pdf"};
    case Symbol::kindPresentation:
        return {"vesto-kind-presentation"};
    case Symbol::kindScreenshot:
        return {"vesto-kind-screenshot"};
    case Symbol::kindSpreadsheet:
        return {"vesto-kind-spreadsheet"};
    case Symbol::kindVideo:
        return {"vesto-kind-video"};
    case Symbol::lock:
        return {"vesto-lock"};
    case Symbol::near:
        return {"vesto-near"};
    case Symbol::next:
        return {"vesto-next", "go-next"};
    case Symbol::pause:
        return {"vesto-pause", "media-playback-pause"};
    case Symbol::quit:
        return {"vesto-quit", "application-exit"};
    case Symbol::remove:
        return {"vesto-remove", "edit-delete"};
    case Symbol::reset:
        return {"vesto-reset", "document-revert"};
    case Symbol::resume:
        return {"vesto-resume", "media-playback-start"};
    case Symbol::reveal:
        return {"vesto-reveal", "folder-open"};
    case Symbol::running:
        return {"vesto-running"};
    case Symbol::search:
        return {"vesto-search", "edit-find"};
    case Symbol::settings:
        return {"vesto-settings", "preferences-system"};
    case Symbol::trayAttention:
        return {"vesto-tray-attention-symbolic"};
    case Symbol::trayIdle:
        return {"vesto-tray-idle-symbolic"};
    case Symbol::trayPaused:
        return {"vesto-tray-paused-symbolic"};
    case Symbol::trayWorking:
        return {"vesto-tray-working-symbolic"};
    case Symbol::undo:
        return {"vesto-undo", "edit-undo"};
    case Symbol::warning:
        return {"vesto-warning", "dialog-warning"};
    }
    return {""};
}

QString resource(const QString& file) {
    keepDrawings();
    return QStringLiteral(":/vesto/") + file + QStringLiteral(".svg");
}

QByteArray drawing(const QString& file) {
    QFile svg(resource(file));
    return svg.open(QIODevice::ReadOnly) ? svg.readAll() : QByteArray();
}

/// Device pixels; from the cache where it was made before. Without a valid colour in the drawing's own.
QPixmap rendered(const QString& file, const QColor& colour, QSize size) {
    const QString key =
        QStringLiteral("%1-%2-%3x%4")
            .arg(file, colour.isValid() ? colour.name(QColor::HexArgb) : QStringLiteral("own"))
            .arg(size.width())
            .arg(size.height());
    QPixmap pixmap;
    if (QPixmapCache::find(key, &pixmap))
        return pixmap;
    pixmap = QPixmap(size);
    pixmap.fill(Qt::transparent);
    QByteArray svg = drawing(file);
    if (colour.isValid())
        svg.replace("#232629", colour.name(QColor::HexRgb).toLatin1());
    QSvgRenderer renderer(svg);
    renderer.setAspectRatioMode(Qt::KeepAspectRatio);
    QPainter painter(&pixmap);
    if (colour.isValid())
        painter.setOpacity(colour.alphaF());
    renderer.render(&painter);
    painter.end();
    QPixmapCache::insert(key, pixmap);
    return pixmap;
}

void paintDrawing(QPainter& painter, const QRectF& place, const QString& file, const QColor& colour) {
    const double ratio = painter.device()->devicePixelRatio();
    QPixmap pixmap = rendered(file, colour, (place.size() * ratio).toSize());
    pixmap.setDevicePixelRatio(ratio);
    painter.drawPixmap(place.topLeft(), pixmap);
}

constexpr float disabledOpacity = 0.45F;

class DrawingEngine final : public QIconEngine {
public:
    explicit DrawingEngine(QString file, const QColor& colour = {})
        : m_file(std::move(file))
        , m_colour(colour) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State /*state*/) override {
        paintDrawing(*painter, rect, m_file, shade(mode));
    }
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State /*state*/) override {
        return rendered(m_file, shade(mode), size);
    }
    QPixmap scaledPixmap(const QSize& size, QIcon::Mode mode, QIcon::State state, qreal /*scale*/) override {
        return pixmap(size, mode, state); // `size` is in device pixels already
    }
    QSize actualSize(const QSize& size, QIcon::Mode /*mode*/, QIcon::State /*state*/) override {
        const int side = std::min(size.width(), size.height());
        return {side, side};
    }
    // For who hands icons out as pixels: a tray, a window manager.
    QList<QSize> availableSizes(QIcon::Mode /*mode*/, QIcon::State /*state*/) override {
        return {{16, 16}, {22, 22}, {24, 24}, {32, 32}, {48, 48}, {64, 64}, {128, 128}};
    }
    [[nodiscard]] QIconEngine* clone() const override { return new DrawingEngine(m_file, m_colour); }

private:
    [[nodiscard]] QColor shade(QIcon::Mode mode) const {
        QColor colour = m_colour;
        if (mode == QIcon::Disabled && colour.isValid())
            colour.setAlphaF(disabledOpacity);
        return colour;
    }

    QString m_file;
    QColor m_colour; // invalid: the drawing's own
};

} // namespace

namespace Icons {

Symbol ofKind(ContentSummary::Kind kind) {
    switch (kind) {
    case ContentSummary::Kind::screenshot:
        return Symbol::kindScreenshot;
    case ContentSummary::Kind::photo:
    case ContentSummary::Kind::image:
        return Symbol::kindImage;
    case ContentSummary::Kind::pdf:
        return Symbol::kindPDF;
    case ContentSummary::Kind::document:
        return Symbol::kindDocument;
    case ContentSummary::Kind::spreadsheet:
        return Symbol::kindSpreadsheet;
    case ContentSummary::Kind::presentation:
        return Symbol::kindPresentation;
    case ContentSummary::Kind::email:
        return Symbol::kindEmail;
    case ContentSummary::Kind::audio:
        return Symbol::kindAudio;
    case ContentSummary::Kind::video:
        return Symbol::kindVideo;
    case ContentSummary::Kind::ebook:
        return Symbol::kindEbook;
    }
    return Symbol::kindDocument;
}

void paint(QPainter& painter, const QRectF& place, Symbol symbol, const QColor& colour) {
    paintDrawing(painter, place, fileName(symbol), colour);
}

QIcon own(Symbol symbol, const QColor& colour) {
    return QIcon(new DrawingEngine(fileName(symbol), colour)); // the icon owns it
}

QIcon themed(Symbol symbol, const QPalette& palette) {
    const QIcon ours = own(symbol, palette.color(QPalette::Active, QPalette::ButtonText));
    const char* name = namesOf(symbol).theme;
    return name == nullptr ? ours : QIcon::fromTheme(QLatin1String(name), ours);
}

QIcon application() {
    return QIcon::fromTheme(QStringLiteral("vesto"), QIcon(new DrawingEngine(QStringLiteral("vesto"))));
}

QString fileName(Symbol symbol) {
    return QLatin1String(namesOf(symbol).file);
}

} // namespace Icons
} // namespace vesto
