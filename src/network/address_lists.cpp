// Lists that are worked out from the tables, each in one linear pass: rebuilt and never patched.
#include "frame/run.hpp"
#include "network/store.hpp"

namespace korvane {

void HSORT(const int* table, int* order, int n) {
    // Positions i and j compare by value, then by position, so equal values keep their order.
    auto less = [=](int i, int j) { return table[i - 1] != table[j - 1] ? table[i - 1] < table[j - 1] : i < j; };
    bool sorted = true;
    for (int i = 1; i <= n; ++i) {
        order[i - 1] = i;
        sorted = sorted && (i == 1 || table[i - 2] <= table[i - 1]);
    }
    if (sorted) return;  // decks mostly come in order

    // heap(1) holds the greatest of heap(1..size); sift lets a position sink to its place from node at.
    int* const heap = order - 1;
    auto sift = [&](int at, int size, int position) {
        for (int child = 2 * at; child <= size; child = 2 * at) {
            if (child < size && less(heap[child], heap[child + 1])) ++child;
            if (!less(position, heap[child])) break;
            heap[at] = heap[child];
            at = child;
        }
        heap[at] = position;
    };
    for (int at = n / 2; at >= 1; --at) sift(at, n, heap[at]);
    for (int size = n; size > 1; --size) {
        const int last = heap[size];
        heap[size] = heap[1];
        sift(1, size - 1, last);
    }
}

void order_rows(Store& s) {
    HSORT(s.bus.NOINT.data(), s.adr.NOORD.data(), s.bus.NB);
    s.adr.NBMAX = s.bus.NB ? s.bus.NOINT(s.adr.NOORD(s.bus.NB)) : 0;
    HSORT(s.area.NAINT.data(), s.adr.NAORD.data(), s.area.NAREA);
    for (int k : rows(s.bus.NB))
        if (s.bus.NOINT(k)) note_bus(s, k);
}

void ADRLIN(Run& run) {
    Store& s = run.store;
    Addresses& a = s.adr;
    const BranchTables& b = s.branch;
    const int nb = s.bus.NB, nl = b.NL;
    a.LINPTR.fill(nb + 1, 0);
    a.NLTL = 0;
    bool full = false;
    int entries = 0;
    for (int l : rows(nl)) {
        const int k = b.NFROM(l), m = b.NTO(l);
        if (k == 0 || m == 0) continue;  // removed in the block being read
        ++a.LINPTR(k);
        ++a.LINPTR(m);
        entries += 2;
        if (s.bus.IAREA(k) == s.bus.IAREA(m)) continue;
        if (a.NLTL < MXTIE)
            a.LTLADR(++a.NLTL) = l;
        else
            full = true;
    }
    if (full) MSGPUT(run, "ADRLIN", 100);
    if (entries) {
        // Counts become the entry behind the last of each bus; filling from the last branch walks them to the first.
        int end = a.LINPTR(nb + 1) = entries + 1;
        for (int k = nb; k >= 1; --k) {
            const int count = a.LINPTR(k);
            a.LINPTR(k) = end;
            end -= count;
        }
        for (int l = nl; l >= 1; --l) {
            if (b.NFROM(l) == 0 || b.NTO(l) == 0) continue;
            a.LINADR(--a.LINPTR(b.NFROM(l))) = l;
            a.LINADR(--a.LINPTR(b.NTO(l))) = l;
        }
    }
    MSGOUT(run);
}

void ADRARE(Store& s) {
    Addresses& a = s.adr;
    const std::span<int> work = row_scratch(s);
    const std::span<int> generator = work.subspan(0, std::size_t(MXBUS + 1));
    const std::span<int> injection = work.subspan(std::size_t(MXBUS + 1), std::size_t(MXBUS + 1));
    std::fill_n(generator.begin(), s.bus.NB + 1, 0);
    std::fill_n(injection.begin(), s.bus.NB + 1, 0);
    for (int g : rows(s.gen.NG)) generator[std::size_t(s.gen.NOGEN(g))] = g;
    for (int e : rows(s.eqv.NEQV)) injection[std::size_t(s.eqv.NOEQV(e))] = e;

    a.IPAREA.fill(s.area.NAREA, 0);
    a.IEQPTR.fill(s.area.NAREA, 0);
    a.IAGPTR.fill(s.area.NAREA, 0);
    for (int n = s.bus.NB; n >= 1; --n) {
        const int k = a.NOORD(n), area = s.bus.IAREA(k);
        a.IAREAL(k) = 0;
        if (area == 0) continue;
        a.IAREAL(k) = a.IPAREA(area);
        a.IPAREA(area) = k;
        if (const int e = injection[std::size_t(k)]) {
            a.IEQADR(e) = a.IEQPTR(area);
            a.IEQPTR(area) = e;
        }
        if (const int g = generator[std::size_t(k)]) {
            a.IAGADR(g) = a.IAGPTR(area);
            a.IAGPTR(area) = g;
        }
    }
}

void link_branch_rows(Store& s) {
    BranchTables& b = s.branch;
    b.LITRF.fill(b.NL, 0);
    for (int t : rows(s.tap.NTAP))
        if (const int l = s.tap.NOTAP(t); l != 0 && (b.LTYPE(l) == 1 || b.LTYPE(l) == 3)) b.LITRF(l) = t;
    for (int p : rows(s.phs.NPHS)) {
        if (s.phs.NOPHS(p) == 0) continue;
        const int l = s.tap.NOTAP(s.phs.NOPHS(p));
        if (l != 0 && (b.LTYPE(l) == 2 || b.LTYPE(l) == 4 || b.LTYPE(l) == 6)) b.LITRF(l) = p;
    }
    for (int h : rows(s.shl.NSHL))
        if (const int l = s.shl.LISHL(h); l != 0 && b.LTYPE(l) == 0) b.LITRF(l) = h;
    for (int c : rows(s.csc.NCSC))
        if (const int l = s.csc.LICSC(c); l != 0 && b.LTYPE(l) == 5) b.LITRF(l) = c;
}

void map_bus_rows(Store& s) {
    BusMaps& map = s.map;
    map.NGADR.fill(s.bus.NB, 0);
    map.NSADR.fill(s.bus.NB, 0);
    map.NCADR.fill(s.bus.NB, 0);
    for (int g : rows(s.gen.NG)) map.NGADR(s.gen.NOGEN(g)) = g;
    for (int h : rows(s.sht.NSHT)) map.NSADR(s.sht.NOSHT(h)) = h;
    for (int r : rows(s.rcb.NRCB)) map.NCADR(s.gen.NOGEN(s.rcb.ICB(r))) = r;
}

}  // namespace korvane
