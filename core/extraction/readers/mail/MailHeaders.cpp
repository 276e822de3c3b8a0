#include "core/extraction/readers/mail/MailHeaders.h"

#include "core/extraction/readers/Ascii.h"
#include "core/extraction/readers/LineCollector.h"
#include "core/extraction/readers/text/CharsetDetector.h"
#include "core/support/Charset.h"
#include "core/support/Unicode.h"

#include <gmime/gmime.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <memory>
#include <mutex>
#include <utility>

namespace vesto::readers {
namespace {

constexpr std::size_t maxValueBytes = 16'384;

// ---- GMime and GLib ----

struct Release {
    void operator()(void* object) const { ::g_object_unref(object); }
};
struct Free {
    void operator()(void* memory) const { ::g_free(memory); }
};
struct ReleaseDate {
    void operator()(GDateTime* date) const { ::g_date_time_unref(date); }
};
template <typename T> using Object = std::unique_ptr<T, Release>;
using Text = std::unique_ptr<char, Free>;

/// GLib reports what it does not like on stderr, and the environment can make it abort for it.
void prepareGMime() {
    static std::once_flag done;
    std::call_once(done, [] {
        ::g_log_set_always_fatal(G_LOG_LEVEL_ERROR);
        ::g_log_set_default_handler([](const char*, GLogLevelFlags, const char*, void*) {}, nullptr);
        ::g_mime_init();
    });
}

std::string textOf(const char* text) {
    return text == nullptr ? std::string() : std::string(text);
}

// ---- The lines of a head ----

/// Takes the first line off, without its line break.
std::string_view takeLine(std::string_view& text) {
    const std::size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    text.remove_prefix(end == text.npos ? text.size() : end + 1);
    if (line.ends_with('\r'))
        line.remove_suffix(1);
    return line;
}

/// The bytes before the colon of a header; empty where the line is none.
std::string_view headerName(std::string_view line) {
    const std::size_t colon = line.substr(0, 256).find(':');
    if (colon == line.npos)
        return {};
    const std::string_view name = ascii::trimmed(line.substr(0, colon));
    return std::ranges::all_of(name, [](char c) { return c > ' ' && c < '\x7F'; }) ? name
                                                                                   : std::string_view();
}

struct HeaderRow {
    std::string_view name;
    std::string MailHeaders::* value; // null: it only tells that this is mail
};

constexpr std::array<HeaderRow, 13> headerRows{{{"subject", &MailHeaders::subject},
                                                {"from", &MailHeaders::from},
                                                {"sender", &MailHeaders::sender},
                                                {"date", &MailHeaders::date},
                                                {"content-type", &MailHeaders::contentType},
                                                {"content-transfer-encoding", &MailHeaders::transferEncoding},
                                                {"content-disposition", &MailHeaders::disposition},
                                                {"to", nullptr},
                                                {"received", nullptr},
                                                {"message-id", nullptr},
                                                {"mime-version", nullptr},
                                                {"return-path", nullptr},
                                                {"delivered-to", nullptr}}};

void append(std::string& value, std::string_view text) {
    text = ascii::trimmed(text);
    if (!value.empty())
        value += ' ';
    value += text.substr(0, maxValueBytes - std::min(maxValueBytes, value.size()));
}

// ---- Encoded words ----

/// What calls itself ISO 8859-1 or ASCII is windows-1252 in practice.
std::string_view practicalCharset(std::string_view charset) {
    for (const std::string_view name :
         {"iso-8859-1", "iso8859-1", "latin1", "latin-1", "us-ascii", "ascii", "cp1252", "cp-1252"})
        if (ascii::equalsIgnoringCase(charset, name))
            return "windows-1252";
    return charset;
}

/// The same words with the charset that is meant, and base64 whole again where its padding was forgotten.
std::string mendedWords(std::string_view text) {
    std::string result;
    while (true) {
        const std::size_t begin = text.find("=?");
        const std::size_t encoding = begin == text.npos ? begin : text.find('?', begin + 2);
        if (encoding == text.npos || encoding + 2 >= text.size() || text[encoding + 2] != '?') {
            const std::size_t passed = begin == text.npos ? text.size() : begin + 2;
            result += text.substr(0, passed);
            text.remove_prefix(passed);
            if (text.empty())
                return result;
            continue;
        }
        const std::size_t payload = encoding + 3;
        const std::size_t end = std::min(text.find('?', payload), text.size());
        result += text.substr(0, begin + 2);
        result += practicalCharset(text.substr(begin + 2, encoding - begin - 2));
        result += text.substr(encoding, end - encoding);
        if (ascii::lower(text[encoding + 1]) == 'b')
            result.append((4 - (end - payload) % 4) % 4, '=');
        text.remove_prefix(end);
    }
}

// ---- Senders ----

std::string withoutQuotes(std::string_view name) {
    name = ascii::trimmed(name);
    while (name.size() >= 2 && name.front() == name.back() && (name.front() == '"' || name.front() == '\''))
        name = ascii::trimmed(name.substr(1, name.size() - 2));
    return std::string(name);
}

std::string nameOf(InternetAddress& address) {
    std::string name = withoutQuotes(textOf(::internet_address_get_name(&address)));
    if (name.empty() && INTERNET_ADDRESS_IS_MAILBOX(&address))
        name = textOf(::internet_address_mailbox_get_addr(INTERNET_ADDRESS_MAILBOX(&address)));
    return name;
}

// ---- Dates ----

struct ZoneName {
    std::string_view name, offset;
};
/// Those that GMime does not know, as Europe writes them.
constexpr std::array<ZoneName, 12> zoneNames{{{"BST", "+0100"},
                                              {"CEST", "+0200"},
                                              {"CET", "+0100"},
                                              {"EEST", "+0300"},
                                              {"EET", "+0200"},
                                              {"IST", "+0530"},
                                              {"JST", "+0900"},
                                              {"MEST", "+0200"},
                                              {"MET", "+0100"},
                                              {"MSK", "+0300"},
                                              {"WEST", "+0100"},
                                              {"WET", "+0000"}}};

/// "GMT+02:00", "UTC+2" or "+02:00" as "+0200"; empty where it is no offset in numbers.
std::string numericZone(std::string_view zone) {
    for (const std::string_view prefix : {"GMT", "UTC", "UT"}) {
        if (ascii::startsWithIgnoringCase(zone, prefix)) {
            zone.remove_prefix(prefix.size());
            break;
        }
    }
    if (!zone.starts_with('+') && !zone.starts_with('-'))
        return {};
    std::string_view hours = zone.substr(1);
    std::string_view minutes = "00";
    const std::size_t colon = hours.find(':');
    if (colon != hours.npos) {
        minutes = hours.substr(colon + 1);
        hours = hours.substr(0, colon);
    } else if (hours.size() > 2) {
        minutes = hours.substr(hours.size() - 2);
        hours.remove_suffix(2);
    }
    const auto isDigits = [](std::string_view text) { return std::ranges::all_of(text, ascii::isDigit); };
    if (hours.empty() || hours.size() > 2 || minutes.size() != 2 || !isDigits(hours) || !isDigits(minutes))
        return {};
    std::string result(1, zone.front());
    result.append(2 - hours.size(), '0').append(hours).append(minutes);
    return result;
}

/// The date without comments, its zone as «+0200».
std::string tidyDate(std::string_view value) {
    std::string_view text = value.substr(0, 200);
    text = ascii::trimmed(text.substr(0, text.find('(')));
    const std::size_t blank = text.find_last_of(" \t");
    if (blank == text.npos)
        return std::string(text);
    std::string zone(text.substr(blank + 1));
    const auto known = std::ranges::find_if(
        zoneNames, [&](const ZoneName& row) { return ascii::equalsIgnoringCase(row.name, zone); });
    if (known != zoneNames.end())
        zone = known->offset;
    else if (std::string numeric = numericZone(zone); !numeric.empty())
        zone = std::move(numeric);
    return std::string(text.substr(0, blank + 1)) + zone;
}

bool isStateful(std::string_view charset) {
    for (const std::string_view start : {"iso-2022-", "hz", "utf-7", "utf-16", "utf-32"})
        if (ascii::startsWithIgnoringCase(charset, start))
            return true;
    return false;
}

} // namespace

MailEntity mailEntityOf(std::string_view text) {
    MailEntity entity;
    std::string* open = nullptr; // the value that may go on in the next line
    while (!text.empty()) {
        std::string_view rest = text;
        const std::string_view line = takeLine(rest);
        const bool goesOn = line.starts_with(' ') || line.starts_with('\t');
        const std::string_view name = goesOn ? std::string_view() : headerName(line);
        if (!goesOn && name.empty() && !line.empty())
            break;
        text = rest;
        if (line.empty())
            break;
        if (goesOn) {
            if (open != nullptr)
                append(*open, line);
            continue;
        }
        open = nullptr;
        const auto row = std::ranges::find_if(
            headerRows, [&](const HeaderRow& known) { return ascii::equalsIgnoringCase(known.name, name); });
        if (row == headerRows.end())
            continue;
        entity.headers.areMail = true;
        if (row->value == nullptr || !(entity.headers.*row->value).empty())
            continue;
        open = &(entity.headers.*row->value);
        append(*open, line.substr(line.find(':') + 1));
    }
    entity.body = text;
    return entity;
}

MailEntity mailMessageOf(std::string_view text) {
    if (text.starts_with("\xEF\xBB\xBF"))
        text.remove_prefix(3);
    text.remove_prefix(std::min(text.find_first_not_of("\r\n"), text.size()));
    if (text.starts_with("From ") || text.starts_with(">From "))
        takeLine(text);
    return mailEntityOf(text);
}

MailContentType mailContentType(const std::string& value) {
    MailContentType result;
    if (value.find('/') == value.npos)
        return result;
    prepareGMime();
    const Object<GMimeContentType> type(::g_mime_content_type_parse(nullptr, value.c_str()));
    const auto parameter = [&](const char* name) {
        return textOf(::g_mime_content_type_get_parameter(type.get(), name));
    };
    result.type = ascii::lowered(textOf(::g_mime_content_type_get_media_type(type.get())) + '/' +
                                 textOf(::g_mime_content_type_get_media_subtype(type.get())));
    result.boundary = parameter("boundary");
    result.charset = withoutQuotes(parameter("charset"));
    result.hasFileName = !parameter("name").empty();
    result.isFlowed = ascii::equalsIgnoringCase(parameter("format"), "flowed");
    result.dropsSoftBlank = ascii::equalsIgnoringCase(parameter("delsp"), "yes");
    return result;
}

MailDisposition mailDisposition(const std::string& value) {
    if (value.empty())
        return {};
    prepareGMime();
    const Object<GMimeContentDisposition> disposition(
        ::g_mime_content_disposition_parse(nullptr, value.c_str()));
    if (!disposition)
        return {};
    return {.isAttachment = ::g_mime_content_disposition_is_attachment(disposition.get()) != FALSE,
            .hasFileName =
                ::g_mime_content_disposition_get_parameter(disposition.get(), "filename") != nullptr};
}

std::string mailHeaderText(std::string_view value) {
    prepareGMime();
    const std::string_view part = value.substr(0, maxValueBytes);
    // Bytes above ASCII, which no header should hold, before GMime guesses at them by the process's locale.
    const std::string words = mendedWords(decodeText(part).value_or(unicode::repaired(part)));
    const Text text(::g_mime_utils_header_decode_text(nullptr, words.c_str()));
    return unicode::repaired(textOf(text.get()));
}

std::string mailSender(std::string_view value) {
    prepareGMime();
    const std::string_view part = value.substr(0, maxValueBytes);
    const std::string words = mendedWords(decodeText(part).value_or(unicode::repaired(part)));
    const Object<InternetAddressList> list(::internet_address_list_parse(nullptr, words.c_str()));
    std::string name;
    if (list && ::internet_address_list_length(list.get()) > 0)
        name = nameOf(*::internet_address_list_get_address(list.get(), 0));
    if (name.empty()) // what the grammar does not allow can still be read
        name = withoutQuotes(
            mailHeaderText(ascii::trimmed(part).starts_with('<') ? part : part.substr(0, part.find('<'))));
    return unicode::repaired(name);
}

std::optional<Instant> mailDate(std::string_view value) {
    prepareGMime();
    const std::string text = tidyDate(value);
    const std::unique_ptr<GDateTime, ReleaseDate> date(::g_mime_utils_header_decode_date(text.c_str()));
    if (!date)
        return std::nullopt;
    const int year = ::g_date_time_get_year(date.get());
    if (year < 1990 || year > 2100)
        return std::nullopt;
    return Instant(std::chrono::seconds(::g_date_time_to_unix(date.get())));
}

std::string mailBody(std::string_view body, const std::string& transferEncoding, std::size_t maxBytes) {
    prepareGMime();
    const std::string word = ascii::lowered(ascii::trimmed(transferEncoding));
    const bool isBase64 = word.starts_with("base64");
    if (!isBase64 && !word.starts_with("quoted-printable"))
        return std::string(body.substr(0, maxBytes));
    GMimeEncoding decoder{};
    ::g_mime_encoding_init_decode(&decoder, isBase64 ? GMIME_CONTENT_ENCODING_BASE64
                                                     : GMIME_CONTENT_ENCODING_QUOTEDPRINTABLE);
    constexpr std::size_t sliceBytes = 65'536;
    std::string result, slice;
    while (!body.empty() && result.size() < maxBytes) {
        const std::string_view in = body.substr(0, sliceBytes);
        body.remove_prefix(in.size());
        slice.resize(::g_mime_encoding_outlen(&decoder, in.size()) + 4);
        slice.resize(::g_mime_encoding_step(&decoder, in.data(), in.size(), slice.data()));
        result += slice;
    }
    result.resize(std::min(result.size(), maxBytes));
    return result;
}

std::optional<std::string> mailText(std::string_view bytes, std::string_view charset) {
    if (isStateful(charset)) // its bytes would pass for those of another charset
        if (std::optional<std::string> text = unicode::decodeCharset(bytes, charset))
            return text;
    return decodeText(bytes, practicalCharset(charset));
}

} // namespace vesto::readers
