#include "support/random_deck.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <random>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

namespace korvane::testing {

namespace {

/// One card being filled, by columns counted from 1.
class CardText {
public:
    CardText& put(int first, int last, std::string_view text, bool left = false) {
        const auto width = std::size_t(last - first + 1), at = std::size_t(first - 1);
        if (text.size() > width) throw std::logic_error("a field of a random card is too narrow");
        line_.resize(std::max(line_.size(), at + width), ' ');
        line_.replace(at, width, width, ' ');
        line_.replace(at + (left ? 0 : width - text.size()), text.size(), text);
        return *this;
    }
    CardText& put(int first, int last, int number) { return put(first, last, std::to_string(number)); }
    std::string line() const { return line_ + '\n'; }

private:
    std::string line_;
};

/// Makes a deck, block by block; what a block needs to know of those before it stands in the members.
class DeckMaker {
public:
    explicit DeckMaker(unsigned seed) : random_(seed) {}

    std::string make(Settings settings) {
        title();
        if (settings == Settings::all) {
            options();
            constants();
        }
        aggregators();
        draw_buses();
        buses();
        branches();
        series_devices();
        generators();
        groups();
        loads_and_shunts();
        banks();
        controls();
        lists();
        units();
        return std::move(deck_);
    }

    std::string make_deletions() {
        make(Settings::none);
        deck_.clear();
        std::set<int> gone;
        block("DBAR");
        for (const Bus& b : buses_) {
            CardText c;
            c.put(1, 5, b.number);
            if (chance(30)) {
                gone.insert(b.number);
                add(c.put(6, 6, 1));
            } else if (chance(20)) {
                add(c.put(6, 6, 2).put(69, 73, number(5, 0, 99)));
            }
        }
        for (int n : gone)
            if (chance(40)) add(CardText().put(1, 5, n).put(7, 7, "L").put(74, 76, 5));
        end();
        remove_branches("DLIN", branches_, gone, 8, 11, 16);
        remove_branches("DCSC", devices_, gone, 7, 10, 15);
        return std::move(deck_);
    }

private:
    // --- draws

    int below(int n) { return int(random_() % unsigned(n)); }
    int between(int a, int b) { return a + below(b - a + 1); }
    bool chance(int percent) { return below(100) < percent; }
    template <class T>
    T pick(std::initializer_list<T> of) {
        return *(of.begin() + below(int(of.size())));
    }
    template <class T>
    T& pick(std::vector<T>& of) {
        return of[std::size_t(below(int(of.size())))];
    }

    /// A number in so many columns, with as many decimals as chance and the columns have room for.
    std::string number(int width, double low, double high) {
        for (;;) {
            const double v = low + (high - low) * double(random_()) / 4294967296.0;
            char text[40];
            std::snprintf(text, sizeof text, "%.*f", below(width), v);
            std::string s(text);
            if (const auto zero = s.find("0."); zero != s.npos && (zero == 0 || s[zero - 1] == '-')) s.erase(zero, 1);
            if (s.find('.') == s.npos) s += '.';
            if (const double shown = std::atof(s.c_str()); int(s.size()) <= width && low <= shown && shown <= high)
                return s;
        }
    }
    /// Fills fields at random: "29-32:-179,179?80 81#0,2 7=L/D/_" gives columns 29 to 32 a number between -179 and 179
    /// eighty times in a hundred, column 81 a whole number from 0 to 2, and column 7 one of the texts, "_" a blank.
    CardText& fill(CardText& c, std::string_view fields) {
        std::istringstream words{std::string(fields)};
        for (std::string word; words >> word;) {
            const auto kind = word.find_first_of(":#="), often = word.find('?');
            int first = 0, last = 0;
            if (std::sscanf(word.c_str(), "%d-%d", &first, &last) == 1) last = first;
            if (often != word.npos && !chance(std::stoi(word.substr(often + 1)))) continue;
            std::string body = word.substr(kind + 1, often == word.npos ? often : often - kind - 1);
            const auto comma = body.find(',');
            if (word[kind] == '=') {
                std::replace(body.begin(), body.end(), '_', ' ');
                std::vector<std::string> texts(1);
                for (char letter : body) letter == '/' ? void(texts.emplace_back()) : texts.back().push_back(letter);
                c.put(first, last, pick(texts));
            } else if (word[kind] == '#') {
                c.put(first, last, between(std::stoi(body), std::stoi(body.substr(comma + 1))));
            } else {
                c.put(first, last, number(last - first + 1, std::stod(body), std::stod(body.substr(comma + 1))));
            }
        }
        return c;
    }

    std::string name(int longest) {
        static constexpr const char* SYLLABLES[] = {"SÃO ",   "ITA", "Açu", "pe",   "\"N\" ",
                                                    "-500kV", "RIO", "é",   "X,Y;", " 1"};
        std::string latin1;
        for (int n = below(5); n > 0; --n)
            for (const char* p = SYLLABLES[below(int(std::size(SYLLABLES)))]; *p; ++p) {
                const auto u = static_cast<unsigned char>(*p);
                latin1 += u == 0xC3 ? char(static_cast<unsigned char>(*++p) + 0x40) : *p;
            }
        latin1.resize(std::min(latin1.size(), std::size_t(longest)));
        return latin1;
    }

    void block(std::string_view code) { deck_.append(code).append("\n"); }
    /// A block with a card for each element for which card(c, element) says so.
    template <class Elements, class F>
    void block(std::string_view code, Elements& of, F&& card) {
        block(code);
        for (auto& element : of)
            if (CardText c; card(c, element)) add(c);
        end();
    }
    void add(const CardText& c) { deck_ += c.line(); }
    void end() { deck_ += "99999\n"; }

    // --- settings

    void title() { deck_ += "TITU\n" + name(40) + "\n"; }

    void options() {
        block("DOPC");
        CardText c;
        int at = 1;
        for (const char* option : {"IMPR", "80CO", "NEWT", "RMON", "QLIM", "CREM", "MFCT", "ORDE"}) {
            if (!chance(50)) continue;
            c.put(at, at + 3, option).put(at + 5, at + 5, pick({"L", "D", " "}));
            at += 7;
        }
        if (at > 1) add(c);
        end();
    }

    void constants() {
        block("DCTE");
        const struct {
            const char* name;
            double low, high;
        } of[] = {{"BASE", 50, 999},  {"TEPA", .01, 1},   {"TEPR", .01, 1}, {"VDVN", 1, 50},   {"VDVM", 150, 400},
                  {"VFLD", 50, 90},   {"ZMAX", 100, 900}, {"ASDC", .5, 5},  {"TSDC", .01, .1}, {"ACIT", 5, 99},
                  {"TSBZ", .001, .1}, {"VMVF", 5, 50},    {"NDIR", 2, 99},  {"TLMF", 0, 9},    {"FGHT", .01, 2}};
        for (const auto& constant : of) {
            if (!chance(40)) continue;
            CardText c;
            add(c.put(1, 4, constant.name).put(6, 11, number(6, constant.low, constant.high)));
        }
        end();
    }

    // --- aggregators

    void aggregators() {
        block("DAGR");
        for (int k = 1; k <= 10; ++k) {
            if (!chance(40)) continue;
            add(CardText().put(1, 3, k).put(5, 40, name(36), true));
            std::set<int>& ids = groups_[std::size_t(k - 1)];
            for (int n = below(5); n > 0; --n) {
                const int id = between(1, 999);
                if (ids.insert(id).second) add(CardText().put(1, 3, id).put(7, 42, name(36), true));
            }
            block("FAGR");
        }
        end();
    }

    void groups_of(CardText& c, int first) {
        for (const std::set<int>& ids : groups_) {
            if (!ids.empty() && chance(50)) c.put(first, first + 2, *std::next(ids.begin(), below(int(ids.size()))));
            first += 3;
        }
    }

    // --- buses

    struct Bus {
        int number, type = 0, area = 1, control = 0;
        bool loaded = false, active_load = false;  // PLOAD or QLOAD, PLOAD
        bool banked = false;                       // groups of banks under automatic control
        bool controlled = false;                   // by a remote generator
        bool compensated = false, switched = false;
        std::string limit, volt;
    };

    void draw_buses() {
        std::set<int> numbers;
        for (int n = between(20, 60); int(numbers.size()) < n;)
            numbers.insert(chance(50) ? between(1, 200) : between(1, 99998));
        for (int n : numbers) buses_.push_back({.number = n, .limit = {}, .volt = {}});
        std::shuffle(buses_.begin(), buses_.end(), random_);
        for (Bus& b : buses_) {
            b.type = pick({0, 0, 0, 1, 1, 2, 3});
            b.area = pick({1, 5, 77, 300});
            b.limit = pick({" 0", "A", "B1", "zz"});
        }
        for (Bus& b : buses_) {
            if ((b.type != 1 && b.type != 2) || !chance(40)) continue;
            Bus& other = pick(buses_);
            if (other.type != 0) continue;
            other.controlled = true;
            b.control = other.number;
        }
    }

    void buses() {
        block("DBAR", buses_, [&](CardText& c, Bus& b) {
            c.put(1, 5, b.number).put(11, 22, name(12), true).put(23, 24, b.limit).put(74, 76, b.area);
            if (b.type != 0 || chance(50)) c.put(8, 8, b.type);
            // On type 3 the voltage lies within its limits, whatever they will be.
            if (chance(80)) b.volt = pick({"1045", " .98", "1.02", "0.99", "1013", "  1.", " 993"});
            c.put(25, 28, b.volt);
            fill(c, "7=L/L/L/D/_ 9-10=_0/a/C1/ZZ/9 29-32:-179,179?80");
            if (b.type != 0 || chance(20)) {
                if (b.type != 0) fill(c, chance(70) ? "43-47:-999,-50?80 48-52:99,9999?80" : "");
                fill(c, "33-37:-90,900?80 38-42:-50,99?80");
                if (b.type == 1 && chance(10)) c.put(43, 47, "0.").put(48, 52, "0.");
            }
            if (b.control) c.put(53, 58, chance(20) ? -b.control : b.control);
            b.active_load = chance(60);
            b.loaded = b.active_load || chance(30);
            if (b.loaded) fill(c, b.active_load ? "59-63:1,500 64-68:-90,200?80" : "64-68:1,99");
            groups_of(fill(c, "69-73:-300,300?40 77-80=1.05/_950/1000/.987?50 81#0,2?30"), 82);
            return true;
        });
    }

    // --- branches

    struct Branch {
        int from, to, circuit;
        bool line, regulated, phase, shifter = false;  // under control; with a phase; that is under control
    };

    Branch draw_branch() {
        for (;;) {
            Branch b{pick(buses_).number, pick(buses_).number, between(1, 3), chance(50), false, false};
            const auto same = [&](const Branch& o) {
                return o.circuit == b.circuit && std::minmax(o.from, o.to) == std::minmax(b.from, b.to);
            };
            if (b.from != b.to && std::none_of(branches_.begin(), branches_.end(), same) &&
                std::none_of(devices_.begin(), devices_.end(), same))
                return b;
        }
    }

    void transformer(CardText& c, Branch& b) {
        const int form = below(3);  // fixed, with limits that are the same, under control
        c.put(39, 43, number(5, .9, 1.1));
        if (form == 1) {
            const std::string limit = number(5, .9, 1.1);
            c.put(39, 43, limit).put(44, 48, limit).put(49, 53, limit);
        } else if (form == 2) {
            c.put(44, 48, number(5, .7, .9)).put(49, 53, number(5, 1.1, 1.3));
            b.regulated = true;
            fill(c, "73-74#1,99?60");
        }
        if (form > 0 && chance(60)) {
            Bus& controlled = pick(buses_);
            if (controlled.type == 0 && controlled.control == 0)
                c.put(59, 64, chance(50) ? controlled.number : -controlled.number);
            else
                b.regulated = form == 2;
        }
        b.phase = chance(30);
        // With a resistance: units give their reactance to a step-up transformer without, unless its phase is under
        // control, which is not known yet when a written deck is read.
        if (b.phase) c.put(54, 58, number(5, 1, 60)).put(21, 26, number(6, .1, 20));
    }

    /// A tap that no card gives a bus controls the from bus, which no generator may control too.
    bool may_control(const Branch& b) const {
        const auto taken = [&](const Bus& k) { return k.number == b.from && k.control != 0; };
        return std::none_of(buses_.begin(), buses_.end(), taken);
    }

    void branches() {
        block("DLIN");
        for (int n = int(buses_.size()) * 2; n > 0; --n) {
            Branch b = draw_branch();
            CardText c;
            c.put(1, 5, b.from).put(11, 15, b.to).put(16, 17, b.circuit);
            fill(c, "18=L/D/_ 19=F/T/_ 21-26:0,20?70 27-32:.5,90 65-68:1,9999?80 69-72:1,9999?50 75-78:1,9999?50");
            if (!b.line && may_control(b)) {
                transformer(c, b);
            } else {
                b.line = true;
                fill(c, "33-38:0,500?80");
                if (c.line()[17] == 'D') fill(c, "6=L/D/_ 10=L/D/_");
            }
            groups_of(c, 79);
            add(c);
            branches_.push_back(b);
        }
        end();
    }

    void series_devices() {
        block("DCSC");
        const auto volt = [&](int number) {
            return std::find_if(buses_.begin(), buses_.end(), [&](const Bus& b) { return b.number == number; })->volt;
        };
        std::set<int> joined;
        for (int n = below(4); n > 0; --n) {
            Branch b = draw_branch();
            b.line = false;
            CardText c;
            c.put(1, 5, b.from).put(10, 14, b.to).put(15, 16, b.circuit);
            fill(c,
                 "17=L/D/_ 18=F/T/_ 26-31:-90,-50 32-37:-20,-10 38-43:-50,-20 44=P/I/X 58-60#1,99?50 61-64:1,9999?80");
            // A closed bypass brings its ends to one voltage, which a load bus forgets that it had another. In a chain
            // of them the last bus depends on the order of the cards.
            if (volt(b.from) == volt(b.to) && !joined.contains(b.from) && !joined.contains(b.to) && chance(60)) {
                c.put(19, 19, "L").put(17, 17, "L");
                joined.insert({b.from, b.to});
            }
            if (c.line()[43] != 'X') fill(c, "46-51:10,500");
            if (chance(50)) c.put(53, 57, chance(50) ? b.from : b.to);
            groups_of(c, 73);
            add(c);
            devices_.push_back(b);
        }
        end();
    }

    void remove_branches(std::string_view code, const std::vector<Branch>& of, const std::set<int>& gone, int operation,
                         int to, int circuit) {
        block(code, of, [&](CardText& c, const Branch& b) {
            c.put(1, 5, b.from).put(operation, operation, "E").put(to, to + 4, b.to);
            c.put(circuit, circuit + 1, b.circuit);
            return !gone.count(b.from) && !gone.count(b.to) && chance(25);
        });
    }

    // --- what adds to them

    bool generates(const Bus& b) const { return b.type != 0; }

    void generators() {
        block("DGER", buses_, [&](CardText& c, const Bus& b) {
            fill(c.put(1, 5, b.number), "9-14:-999,-100?80 16-21:901,9999 23-27:0,100?80 29-33:1,100?80 68-72:1,20?80");
            if (chance(50)) {
                fill(c, "35-39:-1,1 41-44:1,50 46-49:1,50 51-54:1,85 56-60:0,200 62-66:0,999");
                if (chance(20)) c.put(51, 54, "0.");
            }
            return generates(b) && chance(80);
        });
    }

    std::vector<std::string> named_limits() const {
        std::set<std::string> named;
        for (const Bus& b : buses_) named.insert(b.limit);
        return {named.begin(), named.end()};
    }

    void groups() {
        const std::vector<std::string> limits = named_limits();
        block("DGLT", limits, [&](CardText& c, const std::string& group) {
            // Three decimals: automatic shunts that take them have no room for more.
            c.put(1, 2, group).put(4, 8, number(4, .81, .97)).put(10, 14, number(4, 1.05, 1.19));
            if (chance(60)) fill(c, "16-20:.6,.9 22-26:1.05,1.3");
            return chance(70);
        });
        block("DGBT");
        add(CardText().put(1, 2, group_of_some_bus()).put(4, 8, pick({"765.", "500.", "525.", "138.", "13.8"})));
        end();
        std::set<int> areas;
        for (const Bus& b : buses_) areas.insert(b.area);
        block("DARE", areas, [&](CardText& c, int area) {
            fill(c.put(1, 3, area).put(19, 54, name(36), true), "8-13:-99,99?80");
            if (chance(50)) fill(c, "56-61:-500,-100 63-68:100,500");
            return true;
        });
    }

    /// The base-voltage group of the first bus card.
    std::string group_of_some_bus() const {
        const std::size_t card = deck_.find('\n', deck_.find("\nDBAR\n") + 1) + 1;
        return deck_.substr(card + 8, 2);
    }

    void model(CardText& c, int first, int last, int from, int to) {
        const int a = between(0, 100), b = between(0, 100 - a);
        if (chance(80)) c.put(first, last, a);
        if (chance(80)) c.put(from, to, b);
    }

    void loads_and_shunts() {
        block("DCAR", buses_, [&](CardText& c, const Bus& b) {
            if (!b.loaded || !chance(70)) return false;
            c.put(1, 4, "BARR").put(6, 10, b.number);
            if (chance(50)) {
                c.put(53, 55, "30").put(63, 63, "5");  // many buses with one model share cards
            } else {
                model(c, 53, 55, 57, 59);
                model(c, 61, 63, 65, 67);
                fill(c, "69-73:1,90?80");
            }
            models_.insert(b.number);
            return true;
        });
        block("DSHL", branches_, [&](CardText& c, const Branch& b) {
            const bool turned = chance(30);
            c.put(1, 5, turned ? b.to : b.from).put(10, 14, turned ? b.from : b.to).put(15, 16, b.circuit);
            const int ends = between(1, 3);
            if (ends & 1) fill(c, "18-23:-300,-1");
            if (ends & 2) fill(c, chance(70) ? "24-29:-300,-1" : "24-29:1,99");
            fill(c, "32=L/D/_ 35=L/D/_");
            return b.line && chance(30);
        });
        block("DINJ", buses_, [&](CardText& c, const Bus& b) {
            fill(c.put(1, 5, b.number), "9-15:-500,500?80 16-22:-500,500?80 23-29:-99,99?80 30-36:0,100?80");
            return chance(20);
        });
    }

    // --- shunt banks

    /// What a group tells of its control, and its rows: a few when it is an automatic one.
    void bank(CardText& c, Bus& b) {
        const char* control = b.banked ? "F" : pick({"F", "F", "D", "C", " "});
        const bool automatic = *control == 'D' || *control == 'C';
        c.put(18, 18, control);
        if (chance(60)) fill(c, "20-23=.950/_970 25-28=1.05/1080");
        fill(c, "36-41:-99,99?30 43=C/L/_ 45=_/_/S");
        const Bus& other = pick(buses_);
        if (chance(50) && !other.banked) c.put(30, 34, other.number);
        b.banked |= automatic;
        add(c);
        std::set<int> numbers;
        for (int n = between(1, automatic ? 6 : 9); n > 0; --n) numbers.insert(between(1, 99));
        for (int n : numbers) {
            CardText row;
            fill(row.put(1, 2, n), chance(70) ? "17-22:1,300" : "17-22:-300,-1");
            add(fill(row, "7=L/D/_ 9-11#1,9?70 13-15#0,1?50"));
        }
        block("FBAN");
    }

    void banks() {
        block("DBSH");
        for (Bus& b : buses_) {
            if (!chance(25)) continue;
            CardText c;
            bank(c.put(1, 5, b.number), b);
        }
        for (const Branch& l : branches_) {
            if (!chance(10)) continue;
            CardText c;
            const int holder = chance(50) ? l.from : l.to;
            c.put(1, 5, l.to).put(9, 13, l.from).put(15, 16, l.circuit).put(47, 51, holder);
            bank(c, *std::find_if(buses_.begin(), buses_.end(), [&](const Bus& b) { return b.number == holder; }));
        }
        end();
    }

    // --- controls and lists

    CardText& ends(CardText& c, const Branch& b, int second, int circuit) {
        return c.put(1, 5, b.from).put(second, second + 4, b.to).put(circuit, circuit + 1, b.circuit);
    }

    void controls() {
        block("DCER");
        for (Bus& b : buses_) {
            if (b.type != 0 || b.controlled || b.banked || !chance(20)) continue;
            for (int group = between(1, 2); group > 0; --group) {
                CardText c;
                c.put(1, 5, b.number).put(9, 10, group);
                add(fill(c, "12-13#1,9?80 21-26:.1,5 28-32:-20,20?80 34-38:-300,-20 40-44:20,300 46=P/I/_ 48=L/D/_"));
            }
            b.compensated = true;
        }
        end();
        block("DSCA", buses_, [&](CardText& c, Bus& b) {
            if (b.banked || !chance(20)) return false;
            if (chance(60)) fill(c, "11-14=.950/_970 15-18=1.05/1080");
            if (chance(50)) c.put(20, 24, pick(buses_).number);
            for (int stage = 0, n = between(1, 6); stage < n; ++stage)
                c.put(31 + 8 * stage, 31 + 8 * stage, between(1, 9))
                    .put(33 + 8 * stage, 37 + 8 * stage, number(5, 1, 99));
            fill(c.put(1, 5, b.number), "8=S/_ 9=F/D/C/_ 25-29:-99,99?80 79=C/L/_");
            return b.switched = true;
        });
        block("DTVF");
        for (Branch& b : branches_) {
            if (b.regulated && chance(40)) {
                CardText c;
                add(fill(ends(c, b, 9, 15), "18-21=0.95/_970 23-26=1.05/1080 28=C/L/_ 30=C/D/_"));
            }
            if (!b.phase || !chance(40)) continue;
            CardText c;
            fill(ends(c, b, 9, 15), "32-37:-90,0 39-44:61,90 46=P/I/F/_ 48-53:-500,500?80 61-62#0,99?80");
            if (chance(50)) c.put(55, 59, chance(50) ? b.from : b.to);
            add(c);
            b.shifter = true;
        }
        end();
        block("DFCT");
        for (const Bus& b : buses_)
            if (b.control > 0 && b.control != b.number && chance(50))
                add(CardText().put(1, 5, b.number).put(7, 7, "R").put(18, 22, number(5, 1, 9)));
        for (const Branch& b : branches_)
            if (CardText c; !b.line && !b.shifter && chance(30)) add(fill(ends(c, b, 9, 15), "7=T 18-22:.1,9"));
        end();
        block("DLEN", branches_, [&](CardText& c, const Branch& b) {
            fill(ends(c, b, 7, 13), "16-19=.95/_930 31-34=1.05/1125");
            return chance(20);
        });
    }

    /// A selection of buses that there are, from a column on.
    CardText selection(int first = 1) {
        CardText c;
        const auto at = [&](int column) { return first - 1 + column; };
        const auto element = [&](int keyword, int value) {
            const bool area = chance(40);
            c.put(at(keyword), at(keyword + 3), area ? "AREA" : "BARR");
            const Bus& b = pick(buses_);
            c.put(at(value), at(value + 4), area ? b.area : b.number);
        };
        element(1, 6);
        if (!chance(50)) return c;
        c.put(at(12), at(12), "E");
        element(14, 19);
        return c;
    }

    void selections(const char* code, int most) {
        block(code);
        for (int n = below(most + 1); n > 0; --n) add(selection());
        end();
    }

    template <class Fits>
    void branch_list(const char* code, Fits&& fits) {
        block(code);
        std::vector<Branch> listed;
        for (const Branch& b : branches_)
            if (fits(b) && chance(50)) listed.push_back(b);
        for (std::size_t i = 0; i < listed.size(); i += 5) {
            CardText c;
            for (std::size_t j = i; j < std::min(i + 5, listed.size()); ++j) {
                const int at = int(j - i) * 15;
                const Branch& b = listed[j];
                c.put(at + 1, at + 5, b.to).put(at + 7, at + 11, b.from).put(at + 13, at + 14, b.circuit);
            }
            add(c);
        }
        end();
    }

    void lists() {
        block("DSLP", buses_, [&](CardText& c, const Bus& b) {
            fill(c.put(1, 5, b.number), "9-13#1,4");
            return (b.type == 1 || b.type == 3) && chance(50);
        });
        branch_list("DTPF", [](const Branch& b) { return b.regulated && !b.shifter; });
        for (const char* code : {"DFCR", "DFQL", "DMTE", "DMGR"}) selections(code, 4);
        branch_list("DMFL", [](const Branch&) { return true; });
        block("DREL");
        for (int n = below(4); n > 0; --n) add(selection(6).put(1, 4, pick({"SUPR", "SUPR", "IMPR"})));
        end();
        block("DBRE");
        for (const char* areas : {"  1   5", " 77"})
            if (chance(30) && has_areas(areas)) deck_.append(areas).append("\n");
        end();
        block("DFRQ");
        for (int island = below(4); island > 0; --island) {
            CardText c;
            c.put(1, 3, island).put(7, 11, pick(buses_).number).put(31, 76, name(46), true);
            if (chance(60)) fill(c, "13-17=50. 19-23:40,49 25-29:51,60");
            add(c);
        }
        end();
        block("DCMT");
        for (int n = below(5); n > 0; --n) deck_ += "Linha " + name(60) + "\n";
        end();
    }

    bool has_areas(std::string_view card) const {
        for (std::size_t at = 0; at < card.size(); at += 4) {
            const int area = std::stoi(std::string(card.substr(at, 3)));
            if (std::none_of(buses_.begin(), buses_.end(), [&](const Bus& b) { return b.area == area; })) return false;
        }
        return true;
    }

    // --- what stands behind a bus

    void units() {
        block("DCAI");
        for (const Bus& b : buses_)
            for (int number_on_bus = below(4); number_on_bus > 0; --number_on_bus) individual_load(b, number_on_bus);
        end();
        block("DGEI");
        for (const Bus& b : buses_)
            for (int number_on_bus = generates(b) ? below(3) : 0; number_on_bus > 0; --number_on_bus)
                individual_generator(b, number_on_bus);
        end();
        block("DMOT", buses_, [&](CardText& c, const Bus& b) {
            motor(c, b);
            return chance(30);
        });
    }

    void individual_load(const Bus& b, int number_on_bus) {
        CardText c;
        c.put(1, 5, b.number).put(10, 11, number_on_bus);
        const int n = between(1, 99);
        if (chance(80)) c.put(15, 17, n).put(19, 21, between(1, n));
        model(c, 35, 37, 39, 41);
        model(c, 43, 45, 47, 49);
        add(fill(c, "13=L/D/_ 23-27:0,99?80 29-33:-50,99?80 51-55:1,90?80 57-60=1.05/_950/1000?50"));
    }

    void individual_generator(const Bus& b, int number_on_bus) {
        CardText c;
        c.put(1, 5, b.number).put(10, 11, number_on_bus);
        const int n = between(1, 9);
        if (chance(80)) c.put(14, 16, n).put(17, 19, between(1, n)).put(20, 22, 1);
        fill(c, "8=S/_/N 13=L/D/_ 23-27:10,50 28-32:-20,20?80 33-37:-900,-20?80 38-42:20,900?80");
        // At a bus with one branch this gives a transformer its reactance, in more digits than a card has.
        const auto at_bus = [&](const Branch& l) { return l.from == b.number || l.to == b.number; };
        if (std::count_if(branches_.begin(), branches_.end(), at_bus) != 1) fill(c, "43-48:1,50?80");
        if (chance(40)) fill(c, "50-54:50,150 55-59:40,100 60-64:5,20 66-69:.5,1");
        add(fill(c, "70-74:80,900 75-80:60,900?80 81-86:0,9?80 87-91:0,20?80"));
    }

    void motor(CardText& c, const Bus& b) {
        fill(c.put(1, 5, b.number), "10-11#1,99 8=L/D/_ 13-15#1,200?80");
        if (b.active_load && models_.count(b.number) == 0 && chance(50))
            fill(c, "57-59#1,7 61-63#1,100 65-67#1,300?80");
        else
            fill(c,
                 "12=-/_/_ 17-19#1,20?80 21-25:.5,5?80 27-31:5,20 33-37:200,400 39-43:1,5 45-49:5,20 51-55:100,9000");
    }

    std::mt19937 random_;
    std::string deck_;
    std::vector<Bus> buses_;
    std::vector<Branch> branches_, devices_;
    std::array<std::set<int>, 10> groups_;  // identifiers, by aggregator
    std::set<int> models_;                  // buses with a load model
};

}  // namespace

std::string random_deck(unsigned seed, Settings settings) { return DeckMaker(seed).make(settings); }
std::string random_deletions(unsigned seed) { return DeckMaker(seed).make_deletions(); }

}  // namespace korvane::testing
