#include "core/extraction/readers/pictures/PictureFile.h"
#include "core/extraction/readers/pictures/PictureFormat.h"

#include <libheif/heif.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace vesto::readers {
namespace {

struct Releaser {
    void operator()(heif_context* context) const { heif_context_free(context); }
    void operator()(const heif_image_handle* handle) const { heif_image_handle_release(handle); }
    void operator()(const heif_image* image) const { heif_image_release(image); }
    void operator()(heif_decoding_options* options) const { heif_decoding_options_free(options); }
};
template <typename T> using Owned = std::unique_ptr<T, Releaser>;

bool succeeded(const heif_error& error) {
    return error.code == heif_error_Ok;
}

constexpr std::size_t maxMetadataSize = 1U << 20; // bytes

/// The block of the first item of this type, as it is stored.
std::string metadataOf(const heif_image_handle* handle) {
    heif_item_id item = 0;
    if (heif_image_handle_get_list_of_metadata_block_IDs(handle, "Exif", &item, 1) != 1)
        return {};
    const std::size_t size = heif_image_handle_get_metadata_size(handle, item);
    if (size == 0 || size > maxMetadataSize)
        return {};
    std::string block(size, '\0');
    if (!succeeded(heif_image_handle_get_metadata(handle, item, block.data())))
        return {};
    return block;
}

/// Width and height; nothing where a side is not above 0.
std::optional<PixelSize> sizeOf(int width, int height) {
    if (width <= 0 || height <= 0)
        return std::nullopt;
    return PixelSize{static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height)};
}

std::optional<PictureFile> fileOf(const heif_image* image, std::uint64_t maxPixels) {
    const auto size = sizeOf(heif_image_get_width(image, heif_channel_interleaved),
                             heif_image_get_height(image, heif_channel_interleaved));
    int stride = 0;
    const std::uint8_t* plane = heif_image_get_plane_readonly(image, heif_channel_interleaved, &stride);
    if (!size || plane == nullptr || stride <= 0 || size->width > maxPictureSide ||
        size->height > maxPictureSide || static_cast<std::uint64_t>(stride) < std::uint64_t{size->width} * 3)
        return std::nullopt;
    RasterReducer reducer(*size, sizeWithin(*size, maxPixels));
    std::vector<std::uint8_t> row(std::size_t{size->width} * 4);
    for (std::size_t y = 0; y < size->height; ++y) {
        const std::uint8_t* source = plane + y * static_cast<std::size_t>(stride);
        for (std::size_t x = 0; x < size->width; ++x) {
            std::memcpy(row.data() + x * 4, source + x * 3, 3);
            row[x * 4 + 3] = 0xFF;
        }
        reducer.add(row);
    }
    PictureFile file;
    file.raster = reducer.take();
    file.size = *size; // what was claimed may be another one
    return file;
}

} // namespace

std::optional<PictureFile> openHEIC(std::string_view bytes, std::uint64_t maxPixels) {
    const Owned<heif_context> context(heif_context_alloc());
    if (context == nullptr)
        return std::nullopt;
    heif_context_set_max_decoding_threads(context.get(), 0); // the caller's own, as far as that goes
    heif_context_set_maximum_image_size_limit(context.get(), static_cast<int>(maxPictureSide));
    if (!succeeded(
            heif_context_read_from_memory_without_copy(context.get(), bytes.data(), bytes.size(), nullptr)))
        return std::nullopt;
    heif_image_handle* rawHandle = nullptr;
    if (!succeeded(heif_context_get_primary_image_handle(context.get(), &rawHandle)))
        return std::nullopt;
    const Owned<heif_image_handle> handle(rawHandle);
    const auto claimed =
        sizeOf(heif_image_handle_get_width(handle.get()), heif_image_handle_get_height(handle.get()));
    // Three bytes a pixel for the planes, as deep as they may be, and three for the colours.
    if (!claimed || claimed->pixels() * 6 > maxDecodedSize)
        return std::nullopt;
    const Owned<heif_decoding_options> options(heif_decoding_options_alloc());
    if (options == nullptr)
        return std::nullopt;
    options->convert_hdr_to_8bit = 1;
    heif_image* rawImage = nullptr;
    if (!succeeded(heif_decode_image(handle.get(), &rawImage, heif_colorspace_RGB,
                                     heif_chroma_interleaved_RGB, options.get())))
        return std::nullopt;
    const Owned<heif_image> image(rawImage);
    auto file = fileOf(image.get(), maxPixels);
    if (file)
        file->metadata = metadataOfEXIF(metadataOf(handle.get()));
    return file;
}

} // namespace vesto::readers
