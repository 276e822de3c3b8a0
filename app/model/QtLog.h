#pragma once

namespace vesto {

/// What Qt has to say (of the locale, for one) is for the journal and nobody's output. Once, at the start.
void sendQtMessagesToLog();

} // namespace vesto
