#include "front/tree.h"

#include "values/store.h"

const rx_label *rx_find_label(const rx_label_table &labels, std::string_view name) {
    const rx_label *label = labels.buckets[rx_hash_name(name, 127)];
    while (label && label->name != name) label = label->next;
    return label;
}

void rx_enter_label(rx_label_table &labels, rx_arena &arena, const rx_label &label) {
    rx_label **link = &labels.buckets[rx_hash_name(label.name, 127)];
    for (; *link; link = &(*link)->next) {
        if ((*link)->name == label.name) return;
    }
    *link = arena.make<rx_label>(label);
    (*link)->next = nullptr;
}

std::string_view rx_line_of(std::string_view text, size_t line) {
    for (; line > 0; line--) {
        size_t end = text.find('\n');
        if (end == std::string_view::npos) return {};
        text.remove_prefix(end + 1);
    }
    return text.substr(0, text.find('\n'));
}
