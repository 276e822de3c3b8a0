#include "cli/ReadingSession.h"

#include "cli/Messages.h"
#include "cli/SpokenWords.h"
#include "core/files/ModelFolder.h"
#include "core/support/Text.h"

#include <algorithm>
#include <ostream>

namespace vesto::cli {
namespace {

std::string_view wordsOf(ReadingStage stage) {
    switch (stage) {
    case ReadingStage::recognizingText:
        return text("reconnaissance du texte…");
    case ReadingStage::classifying:
        return text("reconnaissance de ce que montre l'image…");
    case ReadingStage::decodingSound:
        return text("décodage du son…");
    case ReadingStage::decodingFrames:
        return text("décodage de la vidéo…");
    }
    return {};
}

} // namespace

bool ReadingSession::begin(bool offline) {
    if (!offline) {
        m_err << "vesto : "
              << text("ce noyau ne sait pas filtrer les appels système (seccomp) : rien n'empêcherait un "
                      "accès au "
                      "réseau, aucun fichier n'est lu.")
              << '\n';
        return false;
    }
    const auto jail = m_reader->start();
    if (!jail) {
        m_err << text("Le lecteur isolé n'a pas pu démarrer :") << ' ' << messageOf(jail.error()) << '\n';
        return false;
    }
    if (m_verbose)
        m_err
            << (*jail == ipc::Jail::full
                    ? text("Lecteur isolé : isolation complète.")
                    : text(
                          "Lecteur isolé : isolation réduite. Ce noyau n'a pas Landlock : les appels système "
                          "sont filtrés, mais pas les chemins."))
            << '\n';
    return true;
}

Summarizer ReadingSession::summarizer(const std::shared_ptr<RemoteTranscriber>& speech) {
    SummarizerEvents events;
    if (m_verbose)
        events.onStage = [this](const auto& path, ReadingStage stage) { tellStage(path, stage); };
    events.onMissingLanguages = [this](const auto& languages) { tellMissing(languages); };
    auto words = std::make_shared<SpokenWords>(speech ? localSpeech(speech) : openSharedSpeech(ModelFolder{}),
                                               m_verbose, m_err);
    return {{"fr-FR", "en-US"}, m_reader, std::move(words), std::move(events)};
}

void ReadingSession::tellStart(const std::filesystem::path& path) {
    if (m_verbose)
        m_err << shownName(path) << " : " << text("lecture…") << '\n';
}

void ReadingSession::tellWhetherReaderRuns() {
    if (m_toldEnd)
        return;
    if (const auto jail = m_reader->start(); !jail) {
        m_toldEnd = true;
        m_err << text("Le lecteur isolé ne démarre plus :") << ' ' << messageOf(jail.error()) << '\n';
    }
}

void ReadingSession::tellStage(const std::filesystem::path& path, ReadingStage stage) {
    m_err << shownName(path) << " : " << wordsOf(stage) << '\n';
}

void ReadingSession::tellMissing(const std::vector<std::string>& languages) {
    for (const std::string& language : languages) {
        if (!m_missing.insert(language).second)
            continue;
        std::string package = "tesseract-ocr-" + language;
        std::ranges::replace(package, '_', '-');
        m_err << text("Reconnaissance du texte des images : il manque une langue. Installez") << ' '
              << printable(package) << ".\n";
    }
}

} // namespace vesto::cli
