#pragma once
#include "core/extraction/readers/containers/ZipReader.h"
#include "core/extraction/readers/office/OfficeReader.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

/// What the office formats have in common; shared by their readers only.
namespace vesto::readers {

/// The parts of one document. Goes through at most `maxInflated` bytes in its life, stored or inflated,
/// however many entries of the archive share them.
class OfficePackage {
public:
    static constexpr std::int64_t maxInflated = 8 * ZipReader::maxMemberSize;

    explicit OfficePackage(ZipReader reader)
        : m_reader(std::move(reader)) {}

    [[nodiscard]] bool contains(std::string_view name) const { return m_reader.entries().contains(name); }
    [[nodiscard]] const ZipReader::Entries& entries() const { return m_reader.entries(); }

    /// Nothing where there is no such part, or none that can be read.
    [[nodiscard]] std::optional<ZipMember> part(std::string_view name);

private:
    ZipReader m_reader;
    std::int64_t m_budget = maxInflated;
};

/// An arrow from one part of an Office Open XML package to another.
struct Relationship {
    std::string type;   // a URI; its last component tells the purpose
    std::string target; // the other part's name
};
using Relationships = std::map<std::string, Relationship, std::less<>>; // by id

/// The name of the part that `target` means in `folder`, which ends with a slash or is empty for the package:
/// «../a.xml» in «b/c/» is «b/a.xml».
[[nodiscard]] std::string memberInFolder(std::string_view folder, std::string_view target);

/// The relationships of the part `source`; of the package itself where it is empty.
[[nodiscard]] Relationships relationshipsOf(OfficePackage& package, std::string_view source);

/// Fills title, date and page count from docProps.
void readOfficeProperties(OfficePackage& package, OfficeText& result);

/// Fills title, date and page count from meta.xml.
void readOpenDocumentProperties(OfficePackage& package, OfficeText& result);

/// Whether an attribute that means "yes" where it is missing (`absent`) or says so is set: "1", "true", "on".
[[nodiscard]] bool isOn(const std::optional<std::string_view>& value, bool absent);

// One for each family of formats; nothing where the main part is missing or no XML.
[[nodiscard]] std::optional<OfficeText> readWordDocument(OfficePackage& package);
[[nodiscard]] std::optional<OfficeText> readSlides(OfficePackage& package);
[[nodiscard]] std::optional<OfficeText> readWorkbook(OfficePackage& package);
[[nodiscard]] std::optional<OfficeText> readOpenDocument(OfficePackage& package, OfficeFormat format);

} // namespace vesto::readers
