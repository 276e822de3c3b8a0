#include "core/extraction/readers/text/PlainTextReader.h"

#include "core/extraction/readers/LineCollector.h"

namespace vesto::readers {

DocumentText plainText(std::string_view text) {
    LineCollector lines;
    for (std::size_t offset = 0; offset < text.size() && !lines.full();)
        lines.add(nextLine(text, offset));
    return {.lines = lines.take()};
}

} // namespace vesto::readers
