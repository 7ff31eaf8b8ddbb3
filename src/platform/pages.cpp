#include "platform/pages.h"

#include <cstdint>
#include <sys/mman.h>

namespace {

constexpr size_t large_page = size_t{2} << 20;

size_t rounded(size_t size) {
    return (size + large_page - 1) & ~(large_page - 1);
}

} // namespace

void *rx_take_pages(size_t size) {
    // Large pages need an address that is a multiple of their size: one page more leaves room for that.
    size = rounded(size);
    void *all = ::mmap(nullptr, size + large_page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (all == MAP_FAILED) return nullptr;
    auto start = reinterpret_cast<uintptr_t>(all);
    uintptr_t aligned = rounded(start), end = start + size + large_page;
    if (aligned > start) ::munmap(all, aligned - start);
    if (aligned + size < end) ::munmap(reinterpret_cast<void *>(aligned + size), end - aligned - size);
    auto *pages = reinterpret_cast<void *>(aligned);
    // Where the system has no large pages, ordinary ones do.
    ::madvise(pages, size, MADV_HUGEPAGE);
    return pages;
}

void rx_give_back_pages(void *pages, size_t size) {
    ::munmap(pages, rounded(size));
}
