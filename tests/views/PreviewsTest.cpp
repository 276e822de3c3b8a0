#include "app/Previews.h"

#include "app/views/BatchModel.h"
#include "app/views/BatchPreview.h"
#include "app/views/BatchWindow.h"
#include "tests/views/support/WindowWorld.h"

#include <gtest/gtest.h>

#include <QTreeView>
#include <functional>
#include <utility>

namespace vesto {
namespace {

/// With a service that answers each file as its name says.
class PreviewingShell final : public RecordingShell {
public:
    void preview(const std::filesystem::path& file,
                 std::function<void(const std::optional<Preview>&)> done) override {
        m_previews.ask(file, std::move(done));
    }

private:
    Previews m_previews{RemoteReader::Settings{.program = VESTO_HOSTILE_SERVICE}};
};

TEST(PreviewsWithWorkers, ComeWithoutPictureFromAReaderThatDies) {
    WindowWorld world;
    PreviewingShell shell;
    ASSERT_TRUE(world.settings.setGenericOnly(false));
    for (const char* name : {"dies", "garbage", "preview"})
        write(world.folder / name, "%PDF-1.4 Facture EDF de Montpellier");
    world.start(AppModel::Watching::none);
    BatchWindow window(*world.model, world.settings, shell, world.memory());
    WindowWorld::expose(window);
    world.model->startBatch(world.folder.path());
    ASSERT_TRUE(world.eventually([&] { return !world.model->batch()->isAnalysing(); }));
    auto& list = *window.findChild<QTreeView*>();
    ASSERT_EQ(list.model()->rowCount(), 3);
    const PreviewView& view = window.findChild<BatchPreview*>()->picture();
    for (int row = 0; row < 3; ++row) {
        const QModelIndex index = list.model()->index(row, BatchModel::currentColumn);
        list.setCurrentIndex(index);
        EXPECT_TRUE(world.eventually([&] { return view.isSettled(); }));
        EXPECT_EQ(view.hasPicture(), index.data().toString() == QStringLiteral("preview"));
        EXPECT_TRUE(view.accessibleDescription().contains(QStringLiteral("Facture EDF")));
    }
}

} // namespace
} // namespace vesto
