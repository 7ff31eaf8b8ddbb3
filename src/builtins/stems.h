// The numbered elements of a stem, for functions that read or fill many of them.
//
// By name each access would fold, split and look up a text like "A.17". Here the name is parsed once, as a compound
// whose last tail is a variable of our own, and that one is counted up.
#pragma once

#include "base/arena.h"
#include "values/store.h"

#include <string>
#include <string_view>

class bu_stem {
public:
    /// The stem of a name as a program writes it, without its last dot; it may have tails of its own. Error 31 for a
    /// name that no variable can have.
    explicit bu_stem(std::string_view name);

    /// The value of an element, its stem's default included; null when it has none. Lent until the next write.
    const rx_value *get(size_t index);

    /// The name of an element, which is what it stands for when it has no value.
    std::string name(size_t index);

    /// Sets an element. What a program sees of it is "NAME.index".
    void set(size_t index, rx_value &&value);

    bu_stem(const bu_stem &) = delete;
    bu_stem &operator=(const bu_stem &) = delete;

private:
    void point_at(size_t index);

    rx_arena arena_;
    rx_symbol *symbol_;
    rx_var number_{};
};

/// Sets NAME.1 and up to the texts and NAME.0 to their count.
template <class Texts> void bu_fill_stem(std::string_view name, const Texts &texts) {
    bu_stem stem(name);
    size_t count = 0;
    for (const auto &text : texts) stem.set(++count, rx_string(text));
    stem.set(0, rx_number(static_cast<double>(count), 0, 1));
}
