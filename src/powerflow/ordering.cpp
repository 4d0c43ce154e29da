// Minimum-degree ordering of the network and the pattern of its factors.
#include <algorithm>
#include <vector>

#include "powerflow/sparse.hpp"

namespace korvane {

namespace {

/// Adjacency lists in ascending order, each in a piece of the pool with room to grow.
class Lists {
public:
    Lists(OrderingSpace& w, int n, int pool) : w_(w), n_(n), pool_(pool) {}

    std::span<int> of(int i) { return {w_.pool.data() + w_.at[i], std::size_t(w_.length[i])}; }

    /// Every pair of buses joined by a branch, once. Filling by ascending neighbour leaves the lists sorted.
    void build(int nbr, const BusRef* from, const BusRef* to, const bool* on);

    void drop(int i) { w_.length[i] = w_.room[i] = 0; }
    void replace(int i, const int* list, int length) {
        if (length > w_.room[i]) give_room(i, length);
        std::copy_n(list, length, w_.pool.data() + w_.at[i]);
        w_.length[i] = length;
    }

    /// v leaves the list of i.
    void remove(int i, int v) {
        int* const list = w_.pool.data() + w_.at[i];
        int n = --w_.length[i], at = 0;
        while (list[at] != v) ++at;
        for (; at < n; ++at) list[at] = list[at + 1];
    }
    /// w takes the place of v in the list of i, in its order; false when it stands there already, and v leaves.
    bool substitute(int i, int v, int w) {
        int* const list = w_.pool.data() + w_.at[i];
        const int n = w_.length[i];
        if (v < w) {
            int at = 0;
            while (list[at] != v) ++at;
            for (; at + 1 < n && list[at + 1] < w; ++at) list[at] = list[at + 1];
            if (at + 1 < n && list[at + 1] == w) {
                for (; at + 1 < n; ++at) list[at] = list[at + 1];
                --w_.length[i];
                return false;
            }
            list[at] = w;
        } else {
            int at = n - 1;
            while (list[at] != v) --at;
            const int hole = at;
            for (; at > 0 && list[at - 1] > w; --at) {
            }
            if (at > 0 && list[at - 1] == w) {
                for (at = hole; at + 1 < n; ++at) list[at] = list[at + 1];
                --w_.length[i];
                return false;
            }
            for (int q = hole; q > at; --q) list[q] = list[q - 1];
            list[at] = w;
        }
        return true;
    }

private:
    void give_room(int i, int length);
    void squeeze();

    OrderingSpace& w_;
    int n_, pool_, end_ = 0;
};

void Lists::build(int nbr, const BusRef* from, const BusRef* to, const bool* on) {
    // Bucket the branch ends by bus, then walk the buses in order and enter each into its neighbours' lists.
    int* const head = w_.a.data();
    int* const fill = w_.b.data();
    std::fill_n(head, n_ + 1, 0);
    for (int l = 0; l < nbr; ++l)
        if (on[l] && from[l] != to[l]) ++head[from[l] - 1], ++head[to[l] - 1];
    int ends = 0;
    for (int i = 0; i < n_; ++i) {
        const int here = head[i];
        w_.room[i] = here + 4;
        head[i] = fill[i] = ends;
        ends += here;
    }
    head[n_] = ends;
    int* const end_of = w_.pool.data() + pool_ - ends;  // the far end of the pool, free again afterwards
    for (int l = 0; l < nbr; ++l)
        if (on[l] && from[l] != to[l]) {
            const int i = from[l] - 1, j = to[l] - 1;
            end_of[fill[i]++] = j;
            end_of[fill[j]++] = i;
        }
    end_ = 0;
    for (int i = 0; i < n_; ++i) {
        w_.at[i] = end_;
        w_.length[i] = 0;
        end_ += w_.room[i];
    }
    for (int i = 0; i < n_; ++i)
        for (int e = head[i]; e < head[i + 1]; ++e) {
            const int j = end_of[e];
            int& length = w_.length[j];
            int* const list = w_.pool.data() + w_.at[j];
            if (length == 0 || list[length - 1] != i) list[length++] = i;
        }
}

void Lists::give_room(int i, int length) {
    const int room = length + length / 2 + 4;
    if (end_ + room > pool_) squeeze();
    std::copy_n(w_.pool.data() + w_.at[i], w_.length[i], w_.pool.data() + end_);
    w_.at[i] = end_;
    w_.room[i] = room;
    end_ += room;
}

// Lists move together. Live cells are at most MXCELL, so there is always room behind them.
void Lists::squeeze() {
    int* const order = w_.b.data();
    for (int i = 0; i < n_; ++i) order[i] = i;
    std::sort(order, order + n_, [&](int i, int j) { return w_.at[i] < w_.at[j]; });
    end_ = 0;
    for (int k = 0; k < n_; ++k) {
        const int i = order[k];
        std::copy_n(w_.pool.data() + w_.at[i], w_.length[i], w_.pool.data() + end_);
        w_.at[i] = end_;
        w_.room[i] = w_.length[i];
        end_ += w_.room[i];
    }
}

/// Buses by degree; in each class the first in is the first out.
class Degrees {
public:
    Degrees(OrderingSpace& w, int n) : w_(w), least_(n + 1) {
        std::fill_n(w_.first.data(), n + 2, -1);
        std::fill_n(w_.last.data(), n + 2, -1);
    }
    void enter(int i, int degree) {
        const int tail = w_.last[degree];
        w_.previous[i] = tail;
        w_.next[i] = -1;
        (tail < 0 ? w_.first[degree] : w_.next[tail]) = i;
        w_.last[degree] = i;
        least_ = std::min(least_, degree);
    }
    void leave(int i, int degree) {
        const int before = w_.previous[i], after = w_.next[i];
        (before < 0 ? w_.first[degree] : w_.next[before]) = after;
        (after < 0 ? w_.last[degree] : w_.previous[after]) = before;
    }
    void move(int i, int from, int to) {
        leave(i, from);
        enter(i, to);
    }
    int take_least() {
        while (w_.first[least_] < 0) ++least_;
        const int i = w_.first[least_];
        leave(i, least_);
        return i;
    }

private:
    OrderingSpace& w_;
    int least_;
};

/// The union of two ascending lists without u and v.
int merge(const int* a, int na, const int* b, int nb, int u, int v, int* out) {
    int i = 0, j = 0, n = 0;
    while (i < na && j < nb) {
        const int x = a[i], y = b[j], least = std::min(x, y);
        out[n] = least;
        n += (least != u) & (least != v);
        i += x <= y;
        j += y <= x;
    }
    for (; i < na; ++i) {
        out[n] = a[i];
        n += (a[i] != u) & (a[i] != v);
    }
    for (; j < nb; ++j) {
        out[n] = b[j];
        n += (b[j] != u) & (b[j] != v);
    }
    return n;
}

/// Cells that would be taken before v leaves the list of u: a list that runs out of them fails even if v would free
/// one right after.
int fresh_before(std::span<const int> list, std::span<const int> of_v, int u, int v) {
    int n = 0;
    for (int w : of_v)
        if (w < v && w != u && !std::binary_search(list.begin(), list.end(), w)) ++n;
    return n;
}

/// Eliminates the buses one after the other. NORDER, NFAT; w.list takes the neighbours that each bus had when it
/// went, from w.start on, w.count of them.
OrderFault eliminate(Pattern& p, OrderingSpace& w, int n, int nbr, const BusRef* from, const BusRef* to, const bool* on,
                     const bool* late, int pool) {
    Lists lists(w, n, pool);
    lists.build(nbr, from, to, on);
    // A neighbour in a list is a cell, and there are MXCELL of them. A branch keeps one for itself, in service or not;
    // a parallel one gives its cells back, and so does a bus that is eliminated.
    int in_use = 0, idle = 0;
    for (int i = 0; i < n; ++i) in_use += w.length[i];
    for (int l = 0; l < nbr; ++l) idle += !on[l];
    int free = MXCELL - in_use - idle;
    if (free < 0) return OrderFault::cells;

    const int classes = std::min(MXCLASS, n + 1);
    Degrees degrees(w, n);
    int waiting = 0;  // late buses, in no class until all others are gone
    for (int i = 0; i < n; ++i) {
        if (w.length[i] + 1 >= classes) return OrderFault::cells;
        if (late && late[i])
            ++waiting;
        else
            degrees.enter(i, w.length[i]);
    }
    int* const merged = w.c.data();
    std::vector<int> seen(std::size_t(n), 0);  // position of the last bus whose list named it
    int entries = 0;
    for (int position = 1; position <= n; ++position) {
        if (late && position == n - waiting + 1) {
            for (int i = 0; i < n; ++i)
                if (late[i]) degrees.enter(i, w.length[i]);
            late = nullptr;
        }
        const int v = degrees.take_least();
        p.NORDER(v + 1) = position;
        const int c = int(lists.of(v).size());
        // The list of v is what its column of the factors will hold. When they are too many, only count.
        int* const kept = entries + c <= MXFAT ? w.list.data() + entries : w.a.data();
        std::copy_n(lists.of(v).data(), c, kept);
        const std::span<const int> of_v(kept, std::size_t(c));
        w.start[v] = entries;
        w.count[v] = c;
        entries += c;
        lists.drop(v);
        if (c > 2)
            for (int u : of_v) seen[std::size_t(u)] = position;
        for (int u : of_v) {
            const auto of_u = lists.of(u);
            const int before = int(of_u.size());
            if (c <= 2 && free > 0) {  // most buses: nothing to merge
                const bool new_one = c == 2 && lists.substitute(u, v, of_v[0] == u ? of_v[1] : of_v[0]);
                if (c == 1) lists.remove(u, v);
                const int now = before - !new_one;
                free += !new_one;
                if (now + 1 >= classes) return OrderFault::cells;
                if (!late || !late[u]) degrees.move(u, before, now);
                continue;
            }
            // Late in the elimination most lists hold already what v would bring.
            int known = 0;
            for (int x : of_u) known += seen[std::size_t(x)] == position;
            if (known == c - 1) {
                lists.remove(u, v);
                ++free;
                if (before >= classes) return OrderFault::cells;
                if (!late || !late[u]) degrees.move(u, before, before - 1);
                continue;
            }
            const int after = merge(of_u.data(), before, of_v.data(), c, u, v, merged);
            const int fresh = after - (before - 1);
            if (free < fresh && (free < fresh_before(of_u, of_v, u, v) || free + 1 < fresh)) return OrderFault::fill;
            free += 1 - fresh;
            if (after + 1 >= classes) return OrderFault::cells;
            lists.replace(u, merged, after);
            if (!late || !late[u]) degrees.move(u, before, after);
        }
        free += c;
    }
    p.NFAT = entries;
    return entries > MXFAT ? OrderFault::entries : OrderFault::none;
}

/// Columns of the factors, each with its rows in ascending order.
void lay_out_columns(Pattern& p, const OrderingSpace& w, int n) {
    int at = 0;
    for (int r = 0; r < n; ++r) {
        const int v = p.bus[r] - 1;
        p.column[r] = at;
        int* const list = p.row.data() + at;
        const int c = w.count[v];
        for (int e = 0; e < c; ++e) list[e] = p.NORDER(w.list[w.start[v] + e] + 1) - 1;
        if (c > 24)
            std::sort(list, list + c);
        else
            for (int e = 1; e < c; ++e) {
                const int x = list[e];
                int q = e;
                for (; q > 0 && list[q - 1] > x; --q) list[q] = list[q - 1];
                list[q] = x;
            }
        at += c;
    }
    p.column[n] = at;
}

/// The entry of a column that holds a row; it is there.
int entry_of(const Pattern& p, int column, int row) {
    int e = p.column[column];
    const int end = p.column[column + 1];
    if (end - e > 24) return int(std::lower_bound(&p.row[e], p.row.data() + end, row) - p.row.data());
    while (p.row[e] != row) ++e;
    return e;
}

void place_branches(Pattern& p, OrderingSpace& w, int nbr, const BusRef* from, const BusRef* to, const bool* on,
                    int real) {
    constexpr int BRANCH = 1, REAL = 2;
    const int entries = p.column[p.N];
    int* const taken = w.list.data();
    std::fill_n(taken, entries, 0);
    for (int l = 0; l < nbr; ++l) {
        p.slot[l].word = -1;
        if (!on[l] || from[l] == to[l]) continue;
        const int k = p.NORDER(from[l]) - 1, m = p.NORDER(to[l]) - 1, e = entry_of(p, std::min(k, m), std::max(k, m));
        p.slot[l].word = 4 * e + 2 * (taken[e] != 0) + (k > m);
        taken[e] |= l < real ? REAL : BRANCH;
    }
    p.nfill = 0;
    for (int e = 0; e < entries; ++e)
        if (!(taken[e] & REAL)) p.fill[p.nfill++] = e;
}

/// Where the updates of each column go: entry e of a column, at row i, updates column i at the rows that follow it in
/// its own column. They are all there, for a column hands its rows on to the columns that it updates.
void aim_updates(Pattern& p, int n) {
    p.naims = 0;
    for (int k = 0; k < n; ++k) {
        const int end = p.column[k + 1];
        for (int e = p.column[k]; e < end; ++e) {
            const int i = p.row[e], rest = end - e - 1;
            int t = p.column[i];
            if (p.column[i + 1] - t == rest)
                p.aim[e] = SAME_ROWS;
            else if (p.naims + rest > MXAIM)
                p.aim[e] = SEARCHED;
            else {
                p.aim[e] = p.naims;
                for (int b = e + 1; b < end; ++b, ++t) {
                    while (p.row[t] != p.row[b]) ++t;
                    p.aims[p.naims++] = t;
                }
            }
        }
    }
}

/// Whether the factorisation would run out of entries or of columns. Factored entries grow from below towards the
/// input that is not read yet, one entry a branch, so parallel branches need room of their own.
int capacity_of(const Pattern& p, OrderingSpace& w, int n, int nbr, const BusRef* from, const BusRef* to,
                const bool* on) {
    int* const factored = w.a.data();
    int* const unread = w.b.data();
    std::fill_n(factored, n + 1, 0);
    std::fill_n(unread, n + 1, 0);
    for (int k = 0; k < n; ++k)
        for (int e = p.column[k]; e < p.column[k + 1]; ++e) ++factored[p.row[e]];
    int input = 0;
    for (int l = 0; l < nbr; ++l)
        if (on[l] && from[l] != to[l]) {
            ++unread[std::max(p.NORDER(from[l]), p.NORDER(to[l])) - 1];
            ++input;
        }
    int written = 0;
    for (int k = 0; k < n; ++k) {
        if (unread[k] && written + input > MXFAT) return -(k + 1);
        if (factored[k] > MXCOL) return n + 1;
        written += factored[k];
        input -= unread[k];
    }
    return 0;
}

}  // namespace

OrderFault find_order(Pattern& p, OrderingSpace& w, int n, int nbr, const BusRef* from, const BusRef* to,
                      const bool* on, const bool* late, int pool, int real) {
    p.N = p.buses = n;
    p.NFAT = p.naims = p.capacity = 0;
    const OrderFault fault = eliminate(p, w, n, nbr, from, to, on, late, pool);
    if (fault != OrderFault::none) return fault;
    for (int i : rows(n)) p.bus[p.NORDER(i) - 1] = i;
    lay_out_columns(p, w, n);
    place_branches(p, w, nbr, from, to, on, std::min(nbr, real));
    aim_updates(p, n);
    p.capacity = capacity_of(p, w, n, nbr, from, to, on);
    return fault;
}

bool OPTIMO(Run& run, Pattern& p, int n, int nbr) {
    const BranchTables& b = run.store.branch;
    const bool* const late = run.mat.state.nlate > 0 ? run.mat.late.data() : nullptr;
    switch (find_order(p, run.mat.space, n, nbr, b.NFROM.data(), b.NTO.data(), b.STLIN.data(), late, MXPOOL, b.NL)) {
        case OrderFault::none: p.buses = run.store.bus.NB; return true;
        case OrderFault::cells: MSGPUT(run, "OPTIMO", 100); break;
        case OrderFault::fill: MSGPUT(run, "OPTIMO", 120); break;
        case OrderFault::entries: MSGPUT(run, "OPTIMO", 130, p.NFAT, element::number); break;
    }
    return false;
}

}  // namespace korvane
