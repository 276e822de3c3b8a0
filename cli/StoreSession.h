#pragma once
#include "app/model/Store.h"

#include <functional>
#include <iosfwd>

namespace vesto::cli {

/// Looks into the store, beside an engine that may be at work. Where there is none yet, `look` is not called
/// and none is made. False where it cannot be read, which was said on `err`.
[[nodiscard]] bool withStore(std::ostream& err, const std::function<Store::Result<void>(const Store&)>& look);

} // namespace vesto::cli
