#include "core/extraction/TypeTable.h"

#include <array>
#include <cstddef>
#include <iterator>

namespace vesto {
namespace {

constexpr TypeRow abstractTypes[] = {
    {"public.data", "", ""},
    {"public.content", "", ""},
    {"public.composite-content", "public.content", ""},
    {"public.text", "public.data public.content", ""},
    {"public.archive", "public.data", ""},
    {"public.image", "public.data public.content", ""},
    {"public.audiovisual-content", "public.data public.content", ""},
    {"public.audio", "public.audiovisual-content", ""},
    {"public.movie", "public.audiovisual-content", ""},
    {"public.executable", "public.data", ""},
    {"public.font", "public.data", ""},
    {"public.presentation", "public.composite-content", ""},
    {"public.spreadsheet", "public.content", ""},
};

constexpr TypeRow textTypes[] = {
    {"public.plain-text", "public.text",
     "txt text asc conf cfg cnf ini env properties toml rst adoc asciidoc org nfo "
     "srt sub vtt bib diff patch po pot desktop lst readme"},
    {"public.source-code", "public.plain-text", ""},
    {"public.script", "public.source-code", "awk sed tcl bat cmd ps1 psm1 fish"},
    {"com.apple.log", "public.plain-text", "log"},
    {"public.yaml", "public.plain-text", "yaml yml"},
    {"net.daringfireball.markdown", "public.plain-text", "md markdown mdown mkd mdwn"},
    {"public.delimited-values-text", "public.plain-text", ""},
    {"public.comma-separated-values-text", "public.delimited-values-text", "csv"},
    {"public.tab-separated-values-text", "public.delimited-values-text", "tsv tab"},
    {"public.json", "public.text", "json geojson jsonl ndjson json5 ipynb webmanifest"},
    {"public.rtf", "public.text", "rtf"},
    {"public.html", "public.text", "html htm shtml"},
    {"public.xhtml", "public.html", "xhtml xht"},
    // Mark-up for machines: its first lines say nothing that a person would name a file after.
    {"public.xml", "public.text", "xml xsd xsl xslt rss atom gpx kml tei dtd"},
    {"public.vcard", "public.text", "vcf vcard"},
    {"public.calendar-event", "public.text", "ics ical"},
    {"public.m3u-playlist", "public.text", "m3u m3u8 pls"},
    {"com.apple.property-list", "public.data", "plist"},
};

constexpr TypeRow sourceTypes[] = {
    {"public.c-source", "public.source-code", "c"},
    {"public.c-header", "public.source-code", "h"},
    {"public.c-plus-plus-source", "public.source-code", "cpp cc cxx c++ ixx cppm ino"},
    {"public.c-plus-plus-header", "public.source-code", "hpp hh hxx h++ ipp tpp"},
    {"public.objective-c-source", "public.source-code", "m"},
    {"public.objective-c-plus-plus-source", "public.source-code", "mm"},
    {"public.assembly-source", "public.source-code", "s asm"},
    {"public.swift-source", "public.source-code", "swift"},
    {"public.rust-source", "public.source-code", "rs"},
    {"org.golang.source", "public.source-code", "go"},
    {"org.ziglang.source", "public.source-code", "zig"},
    {"com.sun.java-source", "public.source-code", "java"},
    {"org.jetbrains.kotlin-source", "public.source-code", "kt kts"},
    {"org.scala-lang.source", "public.source-code", "scala sc"},
    {"org.apache.groovy-source", "public.source-code", "groovy gradle"},
    {"org.clojure.source", "public.source-code", "clj cljs edn"},
    {"com.microsoft.c-sharp-source", "public.source-code", "cs csx"},
    {"com.microsoft.f-sharp-source", "public.source-code", "fs fsx fsi"},
    {"com.microsoft.visual-basic-source", "public.source-code", "vb vbs bas"},
    {"com.netscape.javascript-source", "public.source-code", "js mjs cjs jsx"},
    // «.ts» is a transport stream as well; source code is what people download under that name.
    {"com.microsoft.typescript", "public.source-code", "ts tsx cts"},
    {"dev.dart.source", "public.source-code", "dart"},
    {"public.css", "public.source-code", "css scss sass less"},
    {"org.vuejs.source", "public.source-code", "vue svelte astro"},
    {"public.php-script", "public.script", "php phtml"},
    {"public.python-script", "public.script", "py pyw pyi"},
    {"public.ruby-script", "public.script", "rb rake gemspec"},
    {"public.perl-script", "public.script", "pl pm"},
    {"public.shell-script", "public.script", "sh ksh"},
    {"public.bash-script", "public.shell-script", "bash"},
    {"public.zsh-script", "public.shell-script", "zsh"},
    {"org.lua.source", "public.script", "lua"},
    {"org.r-project.source", "public.script", "r rmd"},
    {"org.julialang.source", "public.script", "jl"},
    {"org.nim-lang.source", "public.source-code", "nim"},
    {"org.haskell.source", "public.source-code", "hs lhs elm purs"},
    {"org.ocaml.source", "public.source-code", "ml mli"},
    {"org.erlang.source", "public.source-code", "erl hrl ex exs"},
    {"org.lisp.source", "public.source-code", "lisp el scm rkt"},
    {"public.fortran-source", "public.source-code", "f f77 f90 f95 f03 for"},
    {"public.pascal-source", "public.source-code", "pas dpr"},
    {"public.ada-source", "public.source-code", "adb ads"},
    {"public.d-source", "public.source-code", "d"},
    {"public.verilog-source", "public.source-code", "sv vhd vhdl"},
    {"org.iso.sql", "public.source-code", "sql"},
    {"public.make-source", "public.source-code", "mk mak cmake ninja"},
    {"io.terraform.source", "public.source-code", "tf hcl nix"},
    {"org.graphql.source", "public.source-code", "graphql gql proto"},
    {"org.tug.tex", "public.source-code", "tex sty cls ltx"},
};

constexpr TypeRow documentTypes[] = {
    {"com.adobe.pdf", "public.composite-content public.data", "pdf"},
    {"com.adobe.postscript", "public.data", "ps eps"},
    {"org.openxmlformats.openxml", "public.data", ""},
    {"org.openxmlformats.wordprocessingml.document", "org.openxmlformats.openxml public.composite-content",
     "docx"},
    {"org.openxmlformats.spreadsheetml.sheet", "org.openxmlformats.openxml public.spreadsheet", "xlsx"},
    {"org.openxmlformats.presentationml.presentation", "org.openxmlformats.openxml public.presentation",
     "pptx"},
    {"org.openxmlformats.wordprocessingml.document.macroenabled", "org.openxmlformats.openxml", "docm"},
    {"org.openxmlformats.spreadsheetml.sheet.macroenabled", "org.openxmlformats.openxml", "xlsm"},
    {"org.openxmlformats.presentationml.presentation.macroenabled", "org.openxmlformats.openxml", "pptm"},
    {"org.openxmlformats.presentationml.slideshow", "org.openxmlformats.openxml", "ppsx"},
    {"org.openxmlformats.wordprocessingml.template", "org.openxmlformats.openxml", "dotx"},
    {"org.openxmlformats.spreadsheetml.template", "org.openxmlformats.openxml", "xltx"},
    {"org.openxmlformats.presentationml.template", "org.openxmlformats.openxml", "potx"},
    {"com.microsoft.word.doc", "public.composite-content public.data", "doc"},
    {"com.microsoft.excel.xls", "public.spreadsheet public.data", "xls"},
    {"com.microsoft.powerpoint.ppt", "public.presentation public.data", "ppt"},
    {"com.microsoft.powerpoint.pps", "public.presentation public.data", "pps"},
    {"org.oasis-open.opendocument", "public.data", ""},
    {"org.oasis-open.opendocument.text", "org.oasis-open.opendocument public.composite-content", "odt"},
    {"org.oasis-open.opendocument.spreadsheet", "org.oasis-open.opendocument public.spreadsheet", "ods"},
    {"org.oasis-open.opendocument.presentation", "org.oasis-open.opendocument public.presentation", "odp"},
    {"org.oasis-open.opendocument.graphics", "org.oasis-open.opendocument", "odg"},
    {"com.apple.keynote.key", "public.presentation", ""},
    {"com.apple.iwork.keynote.sffkey", "public.presentation public.data", "key"},
    {"com.apple.iwork.pages.sffpages", "public.composite-content public.data", "pages"},
    {"com.apple.iwork.numbers.sffnumbers", "public.spreadsheet public.data", "numbers"},
    {"org.idpf.epub-container", "public.composite-content public.data", "epub"},
    {"com.amazon.mobi", "public.data", "mobi azw azw3"},
    {"com.apple.rtfd", "public.composite-content", "rtfd"},
    {"com.apple.webarchive", "public.composite-content public.data", "webarchive"},
    {"org.ietf.mhtml", "public.data", "mht mhtml"},
    {"com.apple.mail.email", "public.data", "eml"},
    {"com.microsoft.outlook.msg", "public.data", "msg"},
    {"com.apple.mail.mbox", "public.data", "mbox"},
};

constexpr TypeRow imageTypes[] = {
    {"public.png", "public.image", "png apng"},
    {"public.jpeg", "public.image", "jpg jpeg jpe jfif"},
    {"public.heif-standard", "public.image", ""},
    {"public.heic", "public.heif-standard", "heic heics"},
    {"public.heif", "public.heif-standard", "heif hif"},
    {"public.avif", "public.heif-standard", "avif"},
    {"public.tiff", "public.image", "tif tiff"},
    {"com.compuserve.gif", "public.image", "gif"},
    {"org.webmproject.webp", "public.image", "webp"},
    {"com.microsoft.bmp", "public.image", "bmp dib"},
    {"com.microsoft.ico", "public.image", "ico cur"},
    {"public.jpeg-2000", "public.image", "jp2 j2k jpx"},
    {"public.jpeg-xl", "public.image", "jxl"},
    {"public.svg-image", "public.image public.xml", "svg svgz"},
    {"com.adobe.photoshop-image", "public.image", "psd psb"},
    {"com.adobe.illustrator.ai-image", "public.image", "ai"},
    {"org.gimp.xcf", "public.image", "xcf"},
    {"public.netpbm", "public.image", "pbm pgm ppm pnm"},
    {"public.camera-raw-image", "public.image", "raw nef nrw arw sr2 orf raf rw2 pef srw erf 3fr"},
    {"com.canon.raw-image", "public.camera-raw-image", "crw cr2 cr3"},
    {"com.adobe.raw-image", "public.camera-raw-image", "dng"},
};

constexpr TypeRow mediaTypes[] = {
    {"public.mp3", "public.audio", "mp3"},
    {"public.mp2", "public.audio", "mp2"},
    {"public.mpeg-4-audio", "public.audio", ""},
    {"com.apple.m4a-audio", "public.mpeg-4-audio", "m4a m4b m4r"},
    {"public.aac-audio", "public.audio", "aac"},
    {"com.microsoft.waveform-audio", "public.audio", "wav wave"},
    {"org.xiph.flac", "public.audio", "flac"},
    {"org.xiph.ogg-audio", "public.audio", "ogg oga spx"},
    {"org.xiph.opus", "public.audio", "opus"},
    {"public.aiff-audio", "public.audio", "aiff aif"},
    {"public.aifc-audio", "public.aiff-audio", "aifc"},
    {"com.apple.coreaudio-format", "public.audio", "caf"},
    {"com.microsoft.windows-media-wma", "public.audio", "wma"},
    {"org.3gpp.adaptive-multi-rate-audio", "public.audio", "amr awb"},
    {"org.matroska.mka", "public.audio", "mka"},
    {"com.monkeysaudio.ape", "public.audio", "ape"},
    {"org.wavpack.wv", "public.audio", "wv"},
    {"public.ac3-audio", "public.audio", "ac3"},
    {"public.au-audio", "public.audio", "au snd"},
    {"public.midi-audio", "public.audio", "mid midi"},
    {"public.mpeg-4", "public.movie", "mp4 mpg4"},
    {"com.apple.quicktime-movie", "public.movie", "mov qt"},
    {"com.apple.m4v-video", "public.mpeg-4", "m4v"},
    {"public.3gpp", "public.movie", "3gp 3gpp"},
    {"public.3gpp2", "public.movie", "3g2 3gp2"},
    {"org.matroska.mkv", "public.movie", "mkv mk3d"},
    {"org.webmproject.webm", "public.movie", "webm"},
    {"public.avi", "public.movie", "avi"},
    {"public.mpeg", "public.movie", "mpg mpeg mpe m1v m2v vob"},
    {"public.mpeg-2-transport-stream", "public.movie", "mts m2ts m2t"},
    {"com.microsoft.windows-media-wmv", "public.movie", "wmv asf"},
    {"com.adobe.flash.video", "public.movie", "flv f4v"},
    {"org.xiph.ogg-video", "public.movie", "ogv"},
    {"org.smpte.mxf", "public.movie", "mxf"},
};

constexpr TypeRow otherTypes[] = {
    {"public.zip-archive", "public.archive", "zip"},
    {"org.gnu.gnu-zip-archive", "public.archive", "gz tgz"},
    {"public.tar-archive", "public.archive", "tar"},
    {"public.bzip2-archive", "public.archive", "bz2 tbz tbz2"},
    {"org.tukaani.xz-archive", "public.archive", "xz txz lzma"},
    {"com.facebook.zstandard-archive", "public.archive", "zst"},
    {"org.7-zip.7-zip-archive", "public.archive", "7z"},
    {"com.rarlab.rar-archive", "public.archive", "rar"},
    {"com.sun.java-archive", "public.archive", "jar war"},
    {"com.android.package-archive", "public.archive", "apk"},
    {"org.debian.deb-archive", "public.archive", "deb"},
    {"com.redhat.rpm-archive", "public.archive", "rpm"},
    {"com.microsoft.cab", "public.archive", "cab"},
    {"public.disk-image", "public.data", "iso img dmg vdi vmdk qcow2"},
    {"com.microsoft.windows-executable", "public.executable", "exe dll msi"},
    {"public.elf-executable", "public.executable", "so o a appimage"},
    {"public.sqlite-database", "public.data", "sqlite sqlite3 db"},
    {"public.truetype-font", "public.font", "ttf ttc"},
    {"public.opentype-font", "public.font", "otf woff woff2"},
    {"public.pgp-data", "public.data", "gpg pgp sig"},
    {"public.x509-certificate", "public.data", "pem crt cer der p12 pfx"},
    {"org.bittorrent.torrent", "public.data", "torrent"},
    {"org.keepass.database", "public.data", "kdbx"},
};

template <std::size_t size> constexpr auto append(auto to, const TypeRow (&rows)[size]) {
    for (const TypeRow& row : rows)
        *to++ = row;
    return to;
}

constexpr std::size_t rowCount = std::size(abstractTypes) + std::size(textTypes) + std::size(sourceTypes) +
                                 std::size(documentTypes) + std::size(imageTypes) + std::size(mediaTypes) +
                                 std::size(otherTypes);

constexpr std::array<TypeRow, rowCount> allTypes = [] {
    std::array<TypeRow, rowCount> all{};
    auto to = append(all.begin(), abstractTypes);
    to = append(to, textTypes);
    to = append(to, sourceTypes);
    to = append(to, documentTypes);
    to = append(to, imageTypes);
    to = append(to, mediaTypes);
    append(to, otherTypes);
    return all;
}();

} // namespace

std::span<const TypeRow> typeTable() {
    return allTypes;
}

} // namespace vesto
