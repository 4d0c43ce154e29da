#include "app/case_tool.hpp"

#include <algorithm>
#include <string_view>

#include "casestore/case_io.hpp"

namespace korvane {

namespace {

constexpr const char* NO_DIRECTORY = "o diretório não pode ser lido: não é um arquivo de casos inicializado";

std::string text_of(const std::array<char, 80>& columns) {
    std::string_view text(columns.data(), columns.size());
    const auto last = text.find_last_not_of(std::string_view(" \0", 2));
    std::string latin1(text.substr(0, last == std::string_view::npos ? 0 : last + 1));
    std::replace_if(
        latin1.begin(), latin1.end(), [](char c) { return c >= 0 && c < ' '; }, '.');
    return utf8_from_latin1(latin1);
}

std::string right(int v, std::size_t columns) {
    std::string digits = std::to_string(v);
    return std::string(columns - std::min(columns, digits.size()), ' ') + digits;
}

/// Follows chains and remembers the chain that each record is in.
class Chains {
public:
    Chains(Records& r, const Directory& d)
        : records_(r), d_(d), owner_(std::size_t(std::max(2, d.highest() + 1)), -1) {}

    /// The chain of case n, or of the free records with n 0: from `first`, until `last` or, in the free one, a zero
    /// link. What is wrong with it, empty for nothing.
    std::string follow(int n, int first, int last) {
        int record = first;
        for (count_ = 0; record != 0 || n != 0;) {
            if (record < 2 || record > d_.highest())
                return "leva ao registro " + std::to_string(record) + ", que não há";
            int& owner = owner_[std::size_t(record)];
            if (owner == n) return "volta ao registro " + std::to_string(record);
            if (owner >= 0) return "passa pelo registro " + std::to_string(record) + ", que é " + name(owner);
            owner = n;
            ++count_;
            if (n != 0 && record == last) return {};
            if (!read_link(records_, record, record)) return "tem um registro que não pode ser lido";
        }
        return {};
    }
    int count() const { return count_; }  // records of the chain followed last
    int lost() const { return int(std::count(owner_.begin() + 2, owner_.end(), -1)); }
    static std::string name(int n) { return n ? "do caso " + std::to_string(n) : "da cadeia livre"; }

private:
    Records& records_;
    const Directory& d_;
    std::vector<int> owner_;
    int count_ = 0;
};

std::vector<std::string> chain_faults(Records& r) {
    std::vector<std::string> faults;
    const Reading scope(r);
    Directory d;
    if (!scope || !d.read(r)) return {NO_DIRECTORY};
    Chains chains(r, d);
    for (int n = 1; n <= CASES; ++n) {
        if (!d.has(n)) continue;
        const std::string fault = chains.follow(n, d.first(n), d.last(n));
        const std::string label = "caso " + std::to_string(n) + ": ";
        if (!fault.empty())
            faults.push_back(label + "a cadeia " + fault);
        else if (chains.count() != d.count(n))
            faults.push_back(label + "a cadeia tem " + std::to_string(chains.count()) +
                             " registros, e o diretório diz " + std::to_string(d.count(n)));
    }
    if (const std::string fault = chains.follow(0, d.free_head(), 0); !fault.empty())
        faults.push_back("a cadeia livre " + fault);
    if (chains.lost() > 0) faults.push_back(std::to_string(chains.lost()) + " registros não estão em nenhuma cadeia");
    return faults;
}

}  // namespace

std::vector<std::string> case_list(Records& r) {
    std::vector<std::string> lines;
    const Reading scope(r);
    Directory d;
    if (!scope || !d.read(r)) return lines;
    int used = 0, cases = 0;
    for (int n = 1; n <= CASES; ++n) {
        if (!d.has(n)) continue;
        ++cases;
        used += d.count(n);
        std::string line = right(n, 2) + "  ";
        CaseHead head;
        std::array<char, 80> information;
        if (!read_head(r, d.first(n), head)) {
            lines.push_back(line + "não pode ser lido");
            continue;
        }
        line += head.encoding == Encoding::wide ? "largo    " : "estreito ";
        line += right(head.version, 2) + right(d.count(n), 7) + "  " + text_of(head.title);
        lines.push_back(line);
        if (read_information(r, d, n, information)) lines.push_back("    " + text_of(information));
    }
    lines.push_back(std::to_string(cases) + (cases == 1 ? " caso, " : " casos, ") + std::to_string(used) + " de " +
                    std::to_string(std::max(0, d.highest() - 1)) + " registros em uso");
    return lines;
}

std::string case_restored(Run& run, Records& r, int n) {
    const RestoreOutcome out = read_case(run, r, n);
    if (out.error == 0) return {};
    if (out.error == BUSY) return "outro programa está gravando neste arquivo";
    std::string text = "RETCAS " + std::to_string(out.error);
    if (out.field) text += std::string(" (") + out.field + ")";
    return text + ": " + utf8_from_latin1(MSGFND(run, "RETCAS", out.error));
}

std::vector<std::string> case_faults(Run& run, Records& r) {
    std::vector<std::string> faults = chain_faults(r);
    Directory d;
    {
        const Reading scope(r);
        if (!scope || !d.read(r)) return faults;
    }
    for (int n = 1; n <= CASES; ++n)
        if (d.has(n))
            if (const std::string fault = case_restored(run, r, n); !fault.empty())
                faults.push_back("caso " + std::to_string(n) + ": " + fault);
    return faults;
}

}  // namespace korvane
