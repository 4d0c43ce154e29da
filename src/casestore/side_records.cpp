// Records of the model file, in chains, and of the flow interface file, in order.
#include <algorithm>
#include <cstring>

#include "casestore/side_files.hpp"

namespace korvane {

namespace {

using RecordWords = std::array<std::uint32_t, SIDE_WORDS>;
constexpr int DIRECTORY_BYTES_USED = 800;
constexpr int LINK_BYTES = 4;

bool within(int record) { return record >= 2 && record <= MODEL_RECORDS; }

bool read_link(Records& r, int record, int& link) {
    std::int32_t word = 0;
    if (!within(record) || !r.read(record, &word, sizeof word)) return false;
    link = word;
    return link == 0 || within(link);
}
bool write_link(Records& r, int record, int link) {
    const std::int32_t word = link;
    return r.write(record, &word, sizeof word);
}

/// The records of a chain. Empty when it does not end, or leaves the file.
std::vector<int> chain(Records& r, int first) {
    std::vector<int> all;
    for (int at = first; at != 0;) {
        if (int(all.size()) > MODEL_RECORDS) return {};
        all.push_back(at);
        if (!read_link(r, at, at)) return {};
    }
    return all;
}

bool write_words(Records& r, int record, std::span<const std::uint32_t> words) {
    RecordWords whole{};
    std::copy(words.begin(), words.end(), whole.begin());
    return r.write(record, whole.data(), SIDE_RECORD);
}

}  // namespace

std::string model_title(Records& r, ModelDirectory& d, int number) {
    char bytes[LINK_BYTES + 80];
    if (!within(d.first(number)) || !r.read(d.first(number), bytes, sizeof bytes)) return {};
    const Text<80> title = Text<80>::of({bytes + LINK_BYTES, 80});
    return std::string(title.trimmed());
}

bool ModelDirectory::read(Records& r) { return r.read(1, cells.data(), DIRECTORY_BYTES_USED); }
bool ModelDirectory::write(Records& r) const { return r.write(1, cells.data(), DIRECTORY_BYTES_USED); }

bool format_model(Records& r) {
    ModelDirectory d;
    for (int k = MODEL_RECORDS; k >= 2; --k) {
        const std::uint32_t link[] = {k == MODEL_RECORDS ? 0u : std::uint32_t(k + 1)};
        if (!write_words(r, k, link)) return false;
    }
    d.free() = 2;
    const std::string blank(SIDE_RECORD, '\0');
    return r.write(1, blank.data(), SIDE_RECORD) && d.write(r);
}

int delete_model(Records& r, ModelDirectory& d, int number) {
    constexpr int NO_CASE = 100, NO_DIRECTORY = 110;
    if (d.first(number) == 0) return NO_CASE;
    const std::vector<int> records = chain(r, d.first(number));
    // A chain that does not hold together cannot go back to the free ones: its records are lost.
    if (!records.empty()) {
        if (!write_link(r, records.back(), d.free())) return NO_DIRECTORY;
        d.free() = d.first(number);
    }
    d.first(number) = d.count(number) = 0;
    return d.write(r) ? 0 : NO_DIRECTORY;
}

ModelSave save_model(Records& r, ModelDirectory& d, int number, bool replace, const SideHead& head,
                     const SideWriter& stream) {
    constexpr int DEVICE = 105, NO_NUMBER = 110, EXISTS = 120, NO_RECORD = 130, FULL = 140;
    ModelSave out;
    for (int n = 1; number == 0 && n <= MODEL_CASES; ++n)
        if (d.first(n) == 0) number = n;
    out.number = number;
    if (number == 0) return out.message = NO_NUMBER, out;
    if (d.first(number) != 0) {
        if (!replace) return out.message = EXISTS, out;
        out.replaced = true;
        out.old = model_title(r, d, number);
        if (delete_model(r, d, number) != 0) return out.message = DEVICE, out;
    }
    if (d.free() == 0) return out.message = NO_RECORD, out;
    const std::vector<int> free = chain(r, d.free());
    const auto words = stream.words();
    constexpr std::size_t EACH = SIDE_WORDS - 1;
    const std::size_t needed = 1 + std::max<std::size_t>(1, (words.size() + EACH - 1) / EACH);
    if (free.empty()) return out.message = DEVICE, out;
    if (free.size() < needed) return out.message = FULL, out;
    const auto link = [&](std::size_t i) { return std::uint32_t(i + 1 < needed ? free[i + 1] : 0); };
    const int after = needed < free.size() ? free[needed] : 0;

    std::string first(SIDE_RECORD, '\0');
    const std::uint32_t second = link(0);
    std::memcpy(first.data(), &second, sizeof second);
    const std::string bytes = head_bytes(head, SideForm::model);
    std::memcpy(first.data() + LINK_BYTES, bytes.data(), bytes.size());
    bool good = r.write(free[0], first.data(), SIDE_RECORD);
    for (std::size_t i = 1; i < needed; ++i) {
        std::vector<std::uint32_t> record = {link(i)};
        const std::size_t from = (i - 1) * EACH, to = std::min(words.size(), i * EACH);
        record.insert(record.end(), words.begin() + std::ptrdiff_t(from), words.begin() + std::ptrdiff_t(to));
        good = good && write_words(r, free[i], record);
    }
    d.first(number) = free[0];
    d.count(number) = int(needed);
    d.free() = after;
    if (!good || !d.write(r)) out.message = DEVICE;
    return out;
}

bool load_model(Records& r, ModelDirectory& d, int number, SideHead& head, std::vector<std::uint32_t>& words) {
    const std::vector<int> records = chain(r, d.first(number));
    char bytes[LINK_BYTES + SIDE_HEAD_BYTES];
    if (records.empty() || !r.read(records[0], bytes, sizeof bytes)) return false;
    head = head_from({bytes + LINK_BYTES, std::size_t(SIDE_HEAD_BYTES)});
    for (std::size_t i = 1; i < records.size(); ++i) {
        RecordWords record;
        if (!r.read(records[i], record.data(), SIDE_RECORD)) return false;
        words.insert(words.end(), record.begin() + 1, record.end());
    }
    return true;
}

bool save_flow(Records& r, const SideHead& head, const SideWriter& stream) {
    std::string first = head_bytes(head, SideForm::flow);
    first.resize(SIDE_RECORD, '\0');
    bool good = r.write(1, first.data(), SIDE_RECORD);
    const auto words = stream.words();
    for (std::size_t at = 0; at < words.size(); at += SIDE_WORDS)
        good = good && write_words(r, 2 + int(at / SIDE_WORDS),
                                   words.subspan(at, std::min<std::size_t>(SIDE_WORDS, words.size() - at)));
    return good;
}

bool load_flow(Records& r, SideHead& head, std::vector<std::uint32_t>& words) {
    char bytes[SIDE_HEAD_BYTES];
    if (!r.read(1, bytes, sizeof bytes)) return false;
    head = head_from({bytes, sizeof bytes});
    RecordWords record;
    for (int k = 2; r.read(k, record.data(), SIDE_RECORD); ++k) words.insert(words.end(), record.begin(), record.end());
    return true;
}

}  // namespace korvane
