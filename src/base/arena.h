// A bump allocator for records that live and die together: the tokens, nodes and clauses of a program, the entries of
// a variable level. Nothing in an arena is destroyed one by one, so it takes only trivially destructible records, and
// whatever those point to must live in the same arena (or longer).
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

struct rx_arena {
    /// `first_block` is the size of the first block in bytes.
    explicit rx_arena(size_t first_block = 1024) : first_block_(first_block) {}

    /// Uninitialised storage of `size` bytes, aligned for every ordinary record.
    void *allocate(size_t size) {
        size = (size + 7) & ~size_t{7};
        if (size > static_cast<size_t>(end_ - free_)) grow(size);
        void *result = free_;
        free_ += size;
        return result;
    }

    /// A new record, constructed from the arguments; lives as long as the arena.
    template <class T, class... Args> T *make(Args &&...args) {
        static_assert(std::is_trivially_destructible_v<T> && alignof(T) <= 8);
        return new (allocate(sizeof(T))) T{std::forward<Args>(args)...};
    }

    /// `count` value-initialised records in a row.
    template <class T> T *make_array(size_t count) {
        static_assert(std::is_trivially_destructible_v<T> && alignof(T) <= 8);
        T *first = static_cast<T *>(allocate(count * sizeof(T)));
        for (size_t i = 0; i < count; i++) new (first + i) T{};
        return first;
    }

    /// A copy of the text with a NUL behind it (not counted in the view).
    std::string_view copy(std::string_view text) {
        char *bytes = static_cast<char *>(allocate(text.size() + 1));
        // Most texts are names of a few bytes: two moves that overlap are quicker than a call.
        size_t size = text.size();
        if (size > 16) {
            std::memcpy(bytes, text.data(), size);
        } else if (size >= 8) {
            move_ends<uint64_t>(bytes, text);
        } else if (size >= 4) {
            move_ends<uint32_t>(bytes, text);
        } else {
            for (size_t i = 0; i < size; i++) bytes[i] = text[i];
        }
        bytes[size] = '\0';
        return {bytes, size};
    }

    /// Forgets all records and keeps the first block for reuse.
    void reset() {
        if (blocks_.size() > 1) blocks_.resize(1);
        free_ = blocks_.empty() ? nullptr : blocks_[0].bytes.get();
        end_ = blocks_.empty() ? nullptr : free_ + blocks_[0].size;
    }

    /// How many blocks the arena has taken; each is twice as large as the one before.
    size_t blocks() const { return blocks_.size(); }

private:
    template <class Word> static void move_ends(char *to, std::string_view text) {
        Word first, last;
        std::memcpy(&first, text.data(), sizeof first);
        std::memcpy(&last, text.data() + text.size() - sizeof last, sizeof last);
        std::memcpy(to, &first, sizeof first);
        std::memcpy(to + text.size() - sizeof last, &last, sizeof last);
    }
    struct block {
        std::unique_ptr<char[]> bytes;
        size_t size;
    };
    void grow(size_t size) {
        size_t next = blocks_.empty() ? first_block_ : blocks_.back().size * 2;
        if (next > 1024 * 1024) next = 1024 * 1024;
        if (next < size) next = size;
        blocks_.push_back({std::unique_ptr<char[]>(new char[next]), next});
        free_ = blocks_.back().bytes.get();
        end_ = free_ + next;
    }
    std::vector<block> blocks_;
    size_t first_block_;
    char *free_ = nullptr;
    char *end_ = nullptr;
};
