#include "cli/StoreSession.h"

#include "cli/Messages.h"
#include "core/support/Text.h"

#include <ostream>
#include <system_error>

namespace vesto::cli {
namespace {

bool refuse(std::ostream& err, const StoreError& error) {
    err << "vesto : " << text("SwiftData :") << ' ' << printable(error.description) << '\n' << std::flush;
    return false;
}

} // namespace

bool withStore(std::ostream& err, const std::function<Store::Result<void>(const Store&)>& look) {
    const std::filesystem::path file = userDataFolder() / "history.sqlite";
    std::error_code error;
    if (std::filesystem::symlink_status(file, error).type() == std::filesystem::file_type::not_found)
        return true;
    const auto store = Store::open(file);
    if (!store)
        return refuse(err, store.error());
    const auto done = look(*store);
    return done.has_value() || refuse(err, done.error());
}

} // namespace vesto::cli
