#include "frame/catalogue.hpp"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstring>
#include <optional>

#include "platform/files.hpp"

namespace korvane {

constexpr std::size_t RECORD = CATALOGUE_RECORD;
constexpr std::size_t LINK = 2, CONTENT = RECORD - LINK;  // of a record of a block
constexpr int VERSION_ENTRY = 400;                        // of the directory
constexpr std::size_t STAMP = 8, ORIGIN = 30, LETTERS = 2;
// Offsets in the version record.
constexpr std::size_t AT_NUMBER = 2, AT_STAMP = 6, AT_ORIGIN = 14, AT_CONFIGURATION1 = 44, AT_CONFIGURATION2 = 48,
                      AT_LETTERS = 52;
// Offsets in the content of a block: name, number of rows, lengths, indexes, texts.
constexpr std::size_t AT_COUNT = 6, AT_LENGTHS = 8;

static int get16(std::string_view s, std::size_t at) {
    assert(at + 2 <= s.size());
    const unsigned v = static_cast<unsigned char>(s[at]) | unsigned(static_cast<unsigned char>(s[at + 1])) << 8;
    return std::int16_t(std::uint16_t(v));
}

static std::int32_t get32(std::string_view s, std::size_t at) {
    const auto low = std::uint16_t(get16(s, at)), high = std::uint16_t(get16(s, at + 2));
    return std::int32_t(std::uint32_t(high) << 16 | low);
}

static void put16(std::string& s, std::size_t at, int v) {
    s[at] = char(v & 0xff);
    s[at + 1] = char(v >> 8 & 0xff);
}

static void put32(std::string& s, std::size_t at, std::uint32_t v) {
    put16(s, at, int(v & 0xffff));
    put16(s, at + 2, int(v >> 16));
}

static std::string padded(std::string_view s, std::size_t n) {
    std::string t(s.substr(0, n));
    t.resize(n, ' ');
    return t;
}

static std::string trimmed(std::string_view s) {
    while (!s.empty() && (s.back() == ' ' || s.back() == '\0')) s.remove_suffix(1);
    return std::string(s);
}

/// CRC-32 of the bytes (polynomial of ISO 3309, reflected), the four bytes from `skipped` on taken as 0.
static std::uint32_t checksum(std::string_view bytes, std::size_t skipped) {
    static constexpr auto table = [] {
        std::array<std::uint32_t, 256> t{};
        for (std::uint32_t i = 0; i < 256; ++i) {
            t[i] = i;
            for (int k = 0; k < 8; ++k) t[i] = t[i] >> 1 ^ (t[i] & 1 ? 0xEDB88320u : 0u);
        }
        return t;
    }();
    std::uint32_t crc = 0xFFFFFFFFu;
    const auto run = [&](std::string_view part) {
        for (char c : part) crc = crc >> 8 ^ table[(crc ^ static_cast<unsigned char>(c)) & 0xff];
    };
    run(bytes.substr(0, skipped));
    run(std::string_view("\0\0\0\0", 4));
    run(bytes.substr(skipped + 4));
    return ~crc;
}

/// Record number of the first record of a block, or of the version record; directory entries count from 1.
static int directory(std::string_view bytes, int entry) { return get16(bytes, std::size_t(entry - 1) * 2); }

/// First byte of the version record; nothing when the directory does not lead there.
static std::optional<std::size_t> version_record(std::string_view bytes) {
    if (bytes.size() < 2 * RECORD) return std::nullopt;
    const int record = directory(bytes, VERSION_ENTRY);
    if (record < 2 || std::size_t(record) > bytes.size() / RECORD) return std::nullopt;
    return std::size_t(record - 1) * RECORD;
}

CatalogueFault Catalogue::open(const std::string& path) {
    *this = Catalogue();
    if (!file_exists(path)) return CatalogueFault::missing;
    std::optional<std::string> bytes = read_file(path);
    if (!bytes) return CatalogueFault::unreadable;
    return open_bytes(std::move(*bytes));
}

CatalogueFault Catalogue::open_bytes(std::string bytes) {
    *this = Catalogue();
    const std::optional<std::size_t> at = version_record(bytes);
    if (!at || bytes.size() % RECORD != 0 || bytes.size() / RECORD > std::size_t(MOST_RECORDS))
        return CatalogueFault::damaged;

    const std::string_view record = std::string_view(bytes).substr(*at, RECORD);
    CatalogueVersion version;
    version.number = get32(record, AT_NUMBER);
    version.stamp = record.substr(AT_STAMP, STAMP);
    version.origin = record.substr(AT_ORIGIN, ORIGIN);
    version.configuration1 = get32(record, AT_CONFIGURATION1);
    version.configuration2 = get32(record, AT_CONFIGURATION2);
    version.letters = record.substr(AT_LETTERS, LETTERS);
    // The stamp goes first: what another release means by the configuration values is not known here.
    if (version.stamp != PROGRAM_STAMP) return CatalogueFault::other_stamp;
    const int records = int(bytes.size() / RECORD);
    if (version.configuration1 != records) return CatalogueFault::damaged;
    if (std::uint32_t(version.configuration2) != checksum(bytes, *at + AT_CONFIGURATION2))
        return CatalogueFault::damaged;

    std::unordered_map<std::string, int> first;
    for (int entry = 1; entry < VERSION_ENTRY; ++entry) {
        const int block = directory(bytes, entry);
        if (block <= 0) continue;
        if (block < 2 || block > records) return CatalogueFault::damaged;
        // Of two blocks of one name the first counts.
        first.emplace(trimmed(std::string_view(bytes).substr(std::size_t(block - 1) * RECORD + LINK, NAME_LENGTH)),
                      block);
    }
    bytes_ = std::move(bytes);
    version_ = std::move(version);
    first_record_ = std::move(first);
    return CatalogueFault::none;
}

bool Catalogue::has(std::string_view routine) const { return first_record_.count(trimmed(routine)) > 0; }

/// The first bytes of a block's content, over as many records as they take; shorter when a link leads out of the file.
std::string Catalogue::content(int record, std::size_t length) const {
    std::string all;
    all.reserve(length);
    for (;;) {
        const std::size_t at = std::size_t(record - 1) * RECORD;
        all.append(bytes_, at + LINK, std::min(CONTENT, length - all.size()));
        if (all.size() == length) return all;
        record = get16(bytes_, at);
        if (record < 2 || record > records()) return all;
    }
}

Catalogue::Block Catalogue::rows_of(std::string_view routine, int limit, std::vector<CatalogueRow>& rows) const {
    const auto found = first_record_.find(trimmed(routine));
    if (found == first_record_.end()) return Block::missing;
    const int first = found->second;
    const int n = get16(bytes_, std::size_t(first - 1) * RECORD + LINK + AT_COUNT);
    if (n < 0) return Block::bad;
    if (n > limit) return Block::too_long;

    const std::size_t count = std::size_t(n), header = AT_LENGTHS + 4 * count;
    std::string text = content(first, header);
    if (text.size() < header) return Block::bad;
    std::size_t end = header;
    for (std::size_t i = 0; i < count; ++i) {
        const int length = get16(text, AT_LENGTHS + 2 * i);
        if (length < 0 || length > ROW_LENGTH) return Block::bad;
        end += std::size_t(length);
    }
    // A chain that needs more records than the file has runs in a circle.
    if ((end + CONTENT - 1) / CONTENT > std::size_t(records())) return Block::bad;
    text = content(first, end);
    if (text.size() < end) return Block::bad;

    rows.clear();
    rows.reserve(count);
    std::size_t at = header;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t length = std::size_t(get16(text, AT_LENGTHS + 2 * i));
        rows.push_back({get16(text, AT_LENGTHS + 2 * (count + i)), text.substr(at, length)});
        at += length;
    }
    return Block::found;
}

void Catalogue::seal(std::string& bytes) {
    const std::optional<std::size_t> at = version_record(bytes);
    if (!at) return;
    put32(bytes, *at + AT_CONFIGURATION1, std::uint32_t(bytes.size() / RECORD));
    put32(bytes, *at + AT_CONFIGURATION2, checksum(bytes, *at + AT_CONFIGURATION2));
}

std::string Catalogue::build(const Source& blocks, const CatalogueVersion& version) {
    if (blocks.size() > std::size_t(MOST_BLOCKS)) return {};
    std::string bytes(2 * RECORD, '\0');  // directory, version record
    put16(bytes, std::size_t(VERSION_ENTRY - 1) * 2, 2);
    put32(bytes, RECORD + AT_NUMBER, std::uint32_t(version.number));
    bytes.replace(RECORD + AT_STAMP, STAMP, padded(version.stamp, STAMP));
    bytes.replace(RECORD + AT_ORIGIN, ORIGIN, padded(version.origin, ORIGIN));
    bytes.replace(RECORD + AT_LETTERS, LETTERS, padded(version.letters, LETTERS));

    std::size_t entry = 0;
    for (const auto& [name, rows] : blocks) {
        if (rows.size() > std::size_t(MOST_RECORDS)) return {};
        std::string content(AT_LENGTHS + 4 * rows.size(), '\0');
        content.replace(0, NAME_LENGTH, padded(name, NAME_LENGTH));
        put16(content, AT_COUNT, int(rows.size()));
        for (std::size_t i = 0; i < rows.size(); ++i) {
            if (rows[i].text.size() > std::size_t(ROW_LENGTH)) return {};
            put16(content, AT_LENGTHS + 2 * i, int(rows[i].text.size()));
            put16(content, AT_LENGTHS + 2 * (rows.size() + i), rows[i].index);
            content += rows[i].text;
        }
        for (std::size_t at = 0; at < content.size(); at += CONTENT) {
            const std::size_t record = bytes.size() / RECORD + 1;
            if (record > std::size_t(MOST_RECORDS)) return {};
            if (at == 0) put16(bytes, 2 * entry++, int(record));
            const bool last = at + CONTENT >= content.size();
            bytes.append(RECORD, '\0');
            put16(bytes, (record - 1) * RECORD, last ? 0 : int(record + 1));
            const std::string_view part = std::string_view(content).substr(at, CONTENT);
            bytes.replace((record - 1) * RECORD + LINK, part.size(), part);
        }
    }
    seal(bytes);
    return bytes;
}

static const FormatRow& row_or_blank(const Formats::Rows* rows, int row) {
    static const FormatRow none;
    return rows != nullptr && row >= 1 && std::size_t(row) < rows->size() ? (*rows)[std::size_t(row)] : none;
}

const FormatRow& Formats::rot(int row) const { return row_or_blank(FMTROT, row); }
const FormatRow& Formats::fix(int row) const { return row_or_blank(FMTFIX, row); }

}  // namespace korvane
