// Any bytes as a catalogue file: as they are, and with a version record and a checksum that are right.
#include "frame/catalogue.hpp"

#include <cstdint>
#include <string>
#include <vector>

#include "frame/format.hpp"

using namespace korvane;

static void use(std::string bytes, const std::vector<std::string>& names) {
    Catalogue file;
    if (file.open_bytes(std::move(bytes)) != CatalogueFault::none) return;
    for (const std::string& name : names)
        for (int limit : {200, 260}) {
            std::vector<CatalogueRow> rows;
            if (file.rows_of(name, limit, rows) != Catalogue::Block::found) continue;
            for (const CatalogueRow& row : rows) FormatRow compiled(row.text);
        }
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t RECORD = CATALOGUE_RECORD;
    std::string bytes(reinterpret_cast<const char*>(data), size);
    // Every name that stands where a block's name would.
    std::vector<std::string> names{"KORVAN", "ERRMSG"};
    for (std::size_t at = 0; at + RECORD <= bytes.size() && names.size() < 50; at += RECORD)
        names.push_back(bytes.substr(at + 2, 6));
    use(bytes, names);

    bytes.resize((bytes.size() + RECORD - 1) / RECORD * RECORD + RECORD);  // a version record behind the rest
    const std::size_t version = bytes.size() / RECORD;
    if (version < 2) return 0;
    bytes[798] = char(version & 0xff);
    bytes[799] = char(version >> 8);
    bytes.replace(bytes.size() - RECORD + 6, PROGRAM_STAMP.size(), PROGRAM_STAMP);
    Catalogue::seal(bytes);
    use(bytes, names);
    return 0;
}
