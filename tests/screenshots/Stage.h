#pragma once
#include "app/views/RecordModel.h"
#include "core/files/FileIdentity.h"
#include "core/naming/FoundationNameGenerator.h"
#include "tests/screenshots/StageDisk.h"
#include "tests/screenshots/StageReading.h"
#include "tests/views/support/WindowWorld.h"

#include <QApplication>
#include <QPainter>
#include <QPalette>
#include <QPixmap>
#include <QWidget>
#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace vesto {

/// A user's home as a picture needs it: what waits and what was done are written into the store before the
/// application begins.
class Stage : public WindowWorld {
public:
    Stage(std::filesystem::path target, std::string suffix)
        : m_target(std::move(target))
        , m_suffix(std::move(suffix)) {
        setenv("HOME", home.path().c_str(), 1); // NOLINT(concurrency-mt-unsafe): no thread runs yet
        downloads = home / "Téléchargements";
        std::filesystem::create_directory(downloads);
        watched.path = downloads.native();
        watched.bookmark = FileIdentity::of(downloads);
        watched.addedAt = now();
    }

    ~Stage() { documents->isHeld = false; }

    /// Starts the application with documents that say their titles, on disks that cannot do all.
    void startWithDocuments() {
        usedReading = documents;
        generator = std::make_shared<StageTitles>();
        modelAvailability = [this] { return availability; };
        usedDisk = &stageDisk;
        start();
    }

    [[nodiscard]] static Instant now() {
        return std::chrono::floor<std::chrono::microseconds>(std::chrono::system_clock::now());
    }

    void addFolder() { EXPECT_TRUE(store->save(watched)); }

    /// The last one that is added stands on top.
    void addPending(std::string_view oldName, std::string_view baseName, std::string_view title,
                    double confidence, ContentSummary::Kind kind, std::vector<std::string> lines = {}) {
        PendingProposal pending;
        pending.folderID = watched.id;
        Proposal& proposal = pending.proposal;
        proposal.id = randomUuid();
        proposal.url = write(downloads / oldName, oldName);
        proposal.identity = FileIdentity::of(proposal.url);
        proposal.title = title;
        proposal.baseName = baseName;
        proposal.confidence = confidence;
        proposal.source = ConfidenceScorer::Source::model;
        proposal.summary.kind = kind;
        proposal.summary.lines = std::move(lines);
        EXPECT_TRUE(store->save(pending));
    }

    void addRecord(std::string_view oldName, std::string_view newName, std::chrono::minutes age,
                   RenameRecord::Status status = RenameRecord::Status::done, bool automatic = false,
                   double confidence = 0.87) {
        RenameRecord record;
        record.date = now() - age;
        record.folderPath = downloads.native();
        record.originalName = oldName;
        record.newName = newName;
        record.status = status;
        record.automatic = automatic;
        record.confidence = confidence;
        if (status == RenameRecord::Status::failed)
            record.errorMessage = "Interrompu";
        write(downloads / currentNameOf(record), "");
        EXPECT_TRUE(store->save(record));
    }

    /// What most pictures show.
    void addUsual() {
        using Kind = ContentSummary::Kind;
        using Status = RenameRecord::Status;
        using std::chrono::hours;
        addFolder();
        addPending("Enregistrement 2026-11-12 à 14.03.27.m4a",
                   "2026-11-12 Réunion préparatoire à la communication du trimestre",
                   "Réunion préparatoire à la communication du trimestre", 0.31, Kind::audio);
        addPending("document-final-2.pdf", "2026-10-09 فاتورة الكهرباء أكتوبر", "فاتورة الكهرباء أكتوبر",
                   0.92, Kind::pdf);
        addPending("IMG_0042.HEIC", "2026-11-18 Chat sur un canapé", "Chat sur un canapé", 0.52, Kind::photo);
        addPending("scan_0012.pdf", "2026-03-12 Contrat location meublé Bellecour mars",
                   "Contrat location meublé Bellecour mars", 0.87, Kind::pdf,
                   {"CONTRAT DE LOCATION", "Logement meublée", "Lyon, le 12/03/2026"});
        addRecord("Classeur1.xlsx", "2026-11-19 Suivi des dépenses 2026.xlsx", hours(62));
        addRecord("CR_AG_v2_final (1).docx",
                  "2026-11-20 Compte rendu de l'assemblée générale de la résidence Les Tilleuls.docx",
                  hours(27), Status::done, true);
        addRecord("IMG_0931.JPG", "2026-11-20 Marché aux fleurs.JPG", hours(25), Status::undone);
        addRecord("Capture d’écran 2026-11-21 à 09.41.03.png", "2026-11-21 Billet TGV Paris Marseille.png",
                  std::chrono::minutes(70));
        addRecord("document (3).pdf", "2026-03-31 Bulletin de paie ACME mars 2026.pdf",
                  std::chrono::minutes(9), Status::done, true);
    }

    /// Lets everything settle and keeps the picture as NAME-SUFFIX.png.
    void picture(QWidget& window, const std::string& name) const {
        window.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&window));
        pass(std::chrono::milliseconds(300));
        keep(window.grab(), name);
    }

    /// The same with a popup that stands over it.
    void picture(QWidget& window, QWidget& popup, const std::string& name) const {
        window.show();
        pass(std::chrono::milliseconds(300));
        const QPixmap whole = window.grab();
        const QPoint at = popup.pos() - window.mapToGlobal(QPoint(0, 0));
        const QSize size = window.size().expandedTo(QSize(at.x() + popup.width(), at.y() + popup.height()));
        QPixmap both(size * whole.devicePixelRatio());
        both.setDevicePixelRatio(whole.devicePixelRatio());
        both.fill(window.palette().color(QPalette::Window));
        {
            QPainter painter(&both);
            painter.drawPixmap(0, 0, whole);
            painter.drawPixmap(at, popup.grab());
        }
        keep(both, name);
    }

    std::filesystem::path downloads;
    WatchedFolder watched;
    std::shared_ptr<StageReading> documents = std::make_shared<StageReading>();
    StageDisk stageDisk;
    FoundationNameGenerator::Availability availability;

private:
    void keep(const QPixmap& picture, const std::string& name) const {
        const auto file = m_target / (name + m_suffix + ".png");
        EXPECT_TRUE(picture.save(QString::fromStdString(file.native()))) << file;
    }

    std::filesystem::path m_target;
    std::string m_suffix;
};

struct Scene {
    const char* name;
    std::function<void(Stage&)> play; // makes windows and takes their pictures
};

[[nodiscard]] std::vector<Scene> panelScenes();
[[nodiscard]] std::vector<Scene> windowScenes(); // the other windows

} // namespace vesto
