#include "app/model/LocalModel.h"

#include "core/support/Text.h"
#include "core/support/UserFolders.h"
#include "services/client/SharedLanguageModel.h"
#include "services/client/SharedTranscriber.h"

namespace vesto {

std::string_view wordsOf(ModelObstacle obstacle) {
    switch (obstacle) {
    case ModelObstacle::none:
        break;
    case ModelObstacle::noFile:
        return text("le fichier ne peut pas être lu. Vérifiez ses droits d'accès.");
    case ModelObstacle::refused:
        return text("le moteur ne prend pas ce fichier : il est tronqué, ou d'un genre inconnu. "
                    "Téléchargez-le de nouveau, ou prenez un autre modèle.");
    case ModelObstacle::memory:
        return text("il n'y a pas assez de mémoire libre pour ce modèle. Fermez des programmes, ou prenez un "
                    "modèle plus petit.");
    case ModelObstacle::noEngine:
        return text("cette version de Vesto n'a pas de moteur pour les modèles.");
    case ModelObstacle::noJail:
        return text("ce système ne permet pas d'isoler le moteur du modèle.");
    case ModelObstacle::dies:
        return text(
            "le moteur s'arrête avec ce modèle. Téléchargez-le de nouveau, ou prenez un autre modèle.");
    }
    return {};
}

LocalModel::Facts factsOf(const RemoteLanguageModel::Facts& facts) {
    return {.name = facts.name,
            .architecture = facts.architecture,
            .parameters = facts.parameters,
            .bytes = facts.bytes,
            .languages = facts.languages,
            .perTitle = facts.perTitle,
            .lastTokens = facts.lastTokens,
            .obstacle = wordsOf(facts.obstacle)};
}

namespace {

template <class Model> LocalModel localModel(const std::shared_ptr<Model>& model) {
    return {.model = model,
            .settle = [model](std::chrono::milliseconds longest) { model->settle(longest); },
            .facts = [model] { return factsOf(model->facts()); }};
}

} // namespace

LocalModel openModel(const std::filesystem::path& file) {
    return localModel(std::make_shared<RemoteLanguageModel>(RemoteLanguageModel::Settings{.model = file}));
}

LocalModel openUsedModel(const ModelFolder& models) {
    const auto used = models.used();
    if (!used)
        return {};
    const auto file = models.pathOf(*used);
    const auto makeOwn = [file, isEnabled = models.isEnabled(), notes = models.notesPath()] {
        return std::make_shared<RemoteLanguageModel>(
            RemoteLanguageModel::Settings{.model = file, .enabled = isEnabled, .notes = ModelNotes(notes)});
    };
    if (!models.isEnabled())
        return localModel(makeOwn());
    return localModel(std::make_shared<SharedLanguageModel>(userDataFolder(), file, makeOwn));
}

LocalModel openEnginesModel(const ModelFolder& models) {
    const auto used = models.used();
    if (!used || !models.isEnabled())
        return openUsedModel(models); // says why, without a host
    const auto makeNone = [] {
        return std::make_shared<RemoteLanguageModel>(RemoteLanguageModel::Settings{.model = {}});
    };
    auto model =
        localModel(std::make_shared<SharedLanguageModel>(userDataFolder(), models.pathOf(*used), makeNone));
    model.getsReady = false;
    return model;
}

std::shared_ptr<RemoteTranscriber> openSpeech(const ModelFolder& models) {
    return std::make_shared<RemoteTranscriber>(RemoteTranscriber::Settings{.model = models.speechPath()});
}

LocalSpeech localSpeech(const std::shared_ptr<RemoteTranscriber>& speech) {
    return {.file = speech->model(), .model = speech, .facts = [speech] { return speech->facts(); }};
}

LocalSpeech openSharedSpeech(const ModelFolder& models) {
    const auto speech = std::make_shared<SharedTranscriber>(userDataFolder(), models.speechPath(),
                                                            [models] { return openSpeech(models); });
    return {.file = models.speechPath(), .model = speech, .facts = [speech] { return speech->facts(); }};
}

} // namespace vesto
