// The two catalogue files, formats and messages: their layout on disk, their reading and their checks.
//
// Direct access, records of 800 bytes, integers of 2 bytes little-endian. Record 1 is the directory; a block is a
// chain of records; entry 400 of the directory points at the version record. docs/catalogue.md has the layout.
#pragma once
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "frame/format.hpp"

namespace korvane {

constexpr int CATALOGUE_RECORD = 800;
constexpr std::string_view PROGRAM_STAMP = "KVN-0001";  // 8 characters: the catalogue that this release understands

/// Version record of a catalogue file.
struct CatalogueVersion {
    std::int32_t number = 0;
    std::string stamp;                                    // 8 characters
    std::string origin;                                   // 30 characters
    std::int32_t configuration1 = 0, configuration2 = 0;  // records of the file; CRC-32 of its bytes, this field as 0
    std::string letters;                                  // 2 characters
};

/// One row of a block: an index and a text. In the formats file the index is the row number, in the message file the
/// message number.
struct CatalogueRow {
    int index;
    std::string text;  // Latin-1
};

/// What is wrong with a catalogue file.
enum class CatalogueFault { none, missing, unreadable, damaged, other_stamp };

/// A catalogue file in memory.
class Catalogue {
public:
    /// Reads and checks the whole file: length, directory, version record, stamp and checksum, in this order. The
    /// catalogue stays empty when anything is wrong.
    CatalogueFault open(const std::string& path);
    /// The same with the bytes of a file.
    CatalogueFault open_bytes(std::string bytes);
    const CatalogueVersion& version() const { return version_; }
    bool has(std::string_view routine) const;

    enum class Block { found, missing, too_long, bad };
    /// The rows of the routine's block, in their order in the file; rows is left alone unless the block is found. A
    /// block of more than limit rows is too long; bad is one whose chain or lengths lead out of the file.
    Block rows_of(std::string_view routine, int limit, std::vector<CatalogueRow>& rows) const;

    static constexpr int MOST_BLOCKS = 399, MOST_RECORDS = 32767, ROW_LENGTH = 200, NAME_LENGTH = 6;
    using Source = std::vector<std::pair<std::string, std::vector<CatalogueRow>>>;  // name and rows of each block
    /// The bytes of a catalogue file that holds the blocks; the configuration values are worked out here. Empty when
    /// the file cannot hold them. For the catalogue compiler and tests.
    static std::string build(const Source& blocks, const CatalogueVersion& version);
    /// Brings the two configuration values of a file in line with its bytes, where it has a version record. For tests
    /// that damage a file behind its checksum.
    static void seal(std::string& bytes);

private:
    int records() const { return int(bytes_.size() / CATALOGUE_RECORD); }
    std::string content(int record, std::size_t length) const;

    std::string bytes_;
    CatalogueVersion version_;
    std::unordered_map<std::string, int> first_record_;
};

/// The formats of a run: the rows of the routine that called LDFORM last, and the fixed rows of block "KORVAN".
/// Rows are compiled at first use and kept, so loading a block again costs a look-up.
struct Formats {
    static constexpr int ROWS = 260, ROW_LENGTH = 200, FIXED_LENGTH = 120;
    using Rows = std::vector<FormatRow>;  // entries 1 to ROWS

    Catalogue file;
    const Rows* FMTROT = nullptr;
    const Rows* FMTFIX = nullptr;
    std::string routine;  // whose rows FMTROT holds
    std::unordered_map<std::string, std::unique_ptr<Rows>> loaded;

    const FormatRow& rot(int row) const;
    const FormatRow& fix(int row) const;
};

}  // namespace korvane
