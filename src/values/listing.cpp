// What CVTAILS and the debugger show of the store, in the order of the defined hash.
#include "values/level.h"
#include "values/numbers.h"

#include <algorithm>

namespace {

/// Bits 13 and 14 of a slot are always clear; the order of listings depends on it.
constexpr unsigned listing_mask = 0x9FFF;

struct listed {
    unsigned slot;
    std::string name;
    const rx_var *var;
};

void sort_listed(std::vector<listed> &all) {
    std::sort(all.begin(), all.end(), [](const listed &a, const listed &b) {
        return a.slot != b.slot ? a.slot < b.slot : a.var->order < b.var->order;
    });
}

void add(std::vector<listed> &all, std::string name, const rx_var &var) {
    if (var.marks & RX_LEFT_OVER) return;
    unsigned slot = rx_hash_name(name, listing_mask);
    all.push_back({slot, std::move(name), &var});
}

/// True when an entry of that stem and tail is set in an older level.
bool set_in_older(const rx_level *level, const rx_stem &stem, const std::string &tail) {
    for (level = level->older; level; level = level->older) {
        const rx_stem *older = level->find_stem(stem.name, rx_lookup_hash(stem.name));
        if (!older) continue;
        int32_t index = rx_plain_index(std::string_view(tail));
        const rx_var *var =
            index >= 0 ? older->find(static_cast<uint32_t>(index)) : older->find(tail, rx_lookup_hash(tail));
        if (var && var->state == RX_SET) return true;
    }
    return false;
}

} // namespace

unsigned rx_hash_name(std::string_view name, unsigned mask) {
    auto byte = [&](size_t i) {
        return static_cast<unsigned>(static_cast<signed char>(i < name.size() ? name[i] : 0));
    };
    unsigned h = byte(0);
    for (size_t i = 1; i <= name.size(); i++) h = (h * 31 + byte(i)) & mask;
    return h;
}

std::string rx_list_tails(std::string_view prefix) {
    std::string_view name = prefix.substr(0, prefix.find('.'));
    const rx_level *level = rx_scope->level;
    const rx_stem *stem;
    for (;;) {
        stem = level->find_stem(name, rx_lookup_hash(name));
        if (!stem || !stem->key || stem->key->state != RX_EXPOSED) break;
        level = rx_owner_of(*stem->key);
    }
    if (!stem) return {};

    std::vector<listed> all;
    stem->for_each_tail([&](const rx_var &var, const std::string &tail) {
        if (var.state == RX_SET || (var.state == RX_EXPOSED && set_in_older(level, *stem, tail)))
            add(all, std::string(name) + "." + tail, var);
    });
    sort_listed(all);
    std::string result;
    for (const listed &each : all) {
        if (&each != &all.front()) result += ' ';
        result += std::string_view(each.name).substr(name.size() + 1);
    }
    return result;
}

std::string rx_show_vars(unsigned number) {
    rx_level *level = rx_scope->level;
    for (unsigned i = 0; level && i < number; i++) level = level->older;
    if (!level) return {};
    if (level->promised) level->keep_promise();

    std::vector<listed> all;
    for (const rx_var *var : level->entries) add(all, std::string(rx_name_of(*var)), *var);
    for (const auto &stem : level->stems) {
        if (stem->key) add(all, std::string(rx_name_of(*stem->key)), *stem->key);
        stem->for_each_tail(
            [&](const rx_var &var, const std::string &tail) { add(all, std::string(stem->name) + "." + tail, var); });
    }
    if (all.empty()) return {};
    sort_listed(all);
    std::string result = "\n.......... show: level " + rx_int_text(number) + "\n\n";
    for (const listed &each : all) {
        result += '"' + each.name + '"';
        rx_number_buffer buffer;
        switch (each.var->state) {
        case RX_DROPPED: result += " is DROPPED\n"; break;
        case RX_SET: result.append(" = \"").append(rx_arg_text(each.var->value, buffer)).append("\"\n"); break;
        case RX_EXPOSED: result += " is EXPOSED\n"; break;
        }
    }
    return result;
}
