#pragma once
#include "core/extraction/ContentReading.h"
#include "core/extraction/SpeechTranscribing.h"
#include "core/support/Time.h"

#include <stop_token>

namespace vesto {

/// Has the sound of a recording or a film transcribed and adds what was said below the lines that its reader
/// found. `elapsed` is what reading took: a film's speech gets what is left of the film's time. Changes
/// nothing for other routes, without sound, and where nothing was understood. Callable from any thread.
void addTranscript(Reading& reading, Route route, const SummarizerSettings& settings,
                   SpeechTranscribing& speech, Seconds elapsed, const std::stop_token& stop);

} // namespace vesto
