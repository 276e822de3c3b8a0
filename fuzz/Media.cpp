#include "core/extraction/readers/media/FrameDecoder.h"
#include "core/extraction/readers/media/MediaFile.h"
#include "core/extraction/readers/media/MediaTitle.h"
#include "core/extraction/readers/media/SoundDecoder.h"
#include "core/support/Assert.h"
#include "core/support/UniqueFd.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>

using namespace vesto;
using namespace vesto::readers;

/// Opens the bytes as a film or recording and asks for all that a reader takes from one.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const UniqueFd fd(::memfd_create("media", MFD_CLOEXEC));
    VESTO_ASSERT(::write(fd.get(), data, size) == static_cast<ssize_t>(size));
    const Deadline deadline(Seconds(3));
    const auto file = MediaFile::open(fd.get(), deadline);
    if (!file)
        return 0;
    const auto title = usableMediaTitle(file->tags());
    VESTO_ASSERT(!title || !title->empty());
    const auto shown = displaySize(*file);
    VESTO_ASSERT(!shown || (shown->first > 0 && shown->second > 0));
    constexpr std::uint64_t mostPixels = 20'000;
    if (const auto picture = decodeFrame(*file, mostPixels)) {
        VESTO_ASSERT(picture->width > 0 && picture->height > 0);
        VESTO_ASSERT(picture->rgba.size() == std::size_t{4} * picture->width * picture->height);
        VESTO_ASSERT(std::uint64_t{picture->width} * picture->height < 4 * mostPixels);
    }
    VESTO_ASSERT(decodeSound(*file, Seconds(0.5)).size() <= 8'000);
    const auto duration = file->duration();
    VESTO_ASSERT(!duration || duration->count() > 0);
    VESTO_ASSERT(file->cover().size() <= size);
    return 0;
}
