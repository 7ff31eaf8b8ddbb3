#include "platform/printer.h"

#include <cstdlib>
#include <dlfcn.h>

namespace {

// ---- what we use of the library, as its manual describes it ---------------------------------------------------------

struct cups_option {
    char *name, *value;
};
struct cups_destination {
    char *name, *instance;
    int is_default, option_count;
    cups_option *options;
};
constexpr int http_continue = 100;
constexpr int ipp_last_success = 0xff;

struct cups_library {
    int (*get_destinations)(cups_destination **list) = nullptr;
    void (*free_destinations)(int count, cups_destination *list) = nullptr;
    const char *(*get_default)() = nullptr;
    const char *(*get_option)(const char *name, int count, cups_option *options) = nullptr;
    int (*add_option)(const char *name, const char *value, int count, cups_option **options) = nullptr;
    void (*free_options)(int count, cups_option *options) = nullptr;
    int (*create_job)(void *http, const char *printer, const char *title, int count, cups_option *options) = nullptr;
    int (*start_document)(void *http, const char *printer, int job, const char *title, const char *format,
                          int last) = nullptr;
    int (*write_data)(void *http, const char *bytes, size_t count) = nullptr;
    int (*finish_document)(void *http, const char *printer) = nullptr;
    const char *(*last_error)() = nullptr;
    bool loaded = false;
};

template <class Function> bool find(void *library, Function &function, const char *name) {
    function = reinterpret_cast<Function>(::dlsym(library, name));
    return function != nullptr;
}

/// The library, loaded at the first call and kept; `loaded` is false where there is none.
const cups_library &cups() {
    static const cups_library library = [] {
        cups_library found;
        void *file = ::dlopen("libcups.so.2", RTLD_NOW | RTLD_LOCAL);
        found.loaded =
            file && find(file, found.get_destinations, "cupsGetDests") &&
            find(file, found.free_destinations, "cupsFreeDests") && find(file, found.get_default, "cupsGetDefault") &&
            find(file, found.get_option, "cupsGetOption") && find(file, found.add_option, "cupsAddOption") &&
            find(file, found.free_options, "cupsFreeOptions") && find(file, found.create_job, "cupsCreateJob") &&
            find(file, found.start_document, "cupsStartDocument") &&
            find(file, found.write_data, "cupsWriteRequestData") &&
            find(file, found.finish_document, "cupsFinishDocument") &&
            find(file, found.last_error, "cupsLastErrorString");
        return found;
    }();
    return library;
}

// ---- pages ----------------------------------------------------------------------------------------------------------

constexpr double characters_per_inch = 10, lines_per_inch = 6;

/// The size at the end of a paper's name, "iso_a4_210x297mm" or "na_letter_8.5x11in"; Letter for any other.
rx_page_shape shape_of(const char *paper) {
    double width = 8.5, height = 11;
    std::string name = paper ? paper : "";
    size_t size = name.rfind('_');
    if (size != std::string::npos) {
        char *end = nullptr;
        double first = std::strtod(name.c_str() + size + 1, &end);
        double second = *end == 'x' ? std::strtod(end + 1, &end) : 0;
        double unit = std::string_view(end) == "mm" ? 25.4 : 1;
        if (first >= 1 && second >= 1 && first < 10000 && second < 10000) {
            width = first / unit;
            height = second / unit;
        }
    }
    // A character at the edge and two lines are kept free.
    rx_page_shape shape;
    shape.columns = static_cast<int>(width * characters_per_inch) - 1;
    shape.lines = static_cast<int>(height * lines_per_inch) - 2;
    if (shape.columns < 1) shape.columns = 1;
    if (shape.lines < 1) shape.lines = 1;
    return shape;
}

} // namespace

bool rx_find_printer(std::string_view name, rx_page_shape &shape) {
    if (!cups().loaded) return false;
    bool ready = false;
    cups_destination *list = nullptr;
    int count = cups().get_destinations(&list);
    for (int i = 0; i < count; i++) {
        const cups_destination &each = list[i];
        if (each.instance || name != each.name) continue;
        const char *accepting = cups().get_option("printer-is-accepting-jobs", each.option_count, each.options);
        ready = !accepting || std::string_view(accepting) != "false";
        shape = shape_of(cups().get_option("media", each.option_count, each.options));
    }
    cups().free_destinations(count, list);
    return ready;
}

std::string rx_default_printer() {
    const char *name = cups().loaded ? cups().get_default() : nullptr;
    return name ? name : "";
}

bool rx_print_document(const std::string &printer, const std::string &title, std::string_view document, bool raw,
                       std::string &reason) {
    reason = "There is no print service";
    if (!cups().loaded) return false;
    int count = 0;
    cups_option *options = nullptr;
    if (!raw) {
        // The lines and pages are cut already.
        for (const char *margin : {"page-left", "page-right", "page-top", "page-bottom"})
            count = cups().add_option(margin, "0", count, &options);
        count = cups().add_option("cpi", "10", count, &options);
        count = cups().add_option("lpi", "6", count, &options);
        count = cups().add_option("wrap", "false", count, &options);
    }
    const char *format = raw ? "application/vnd.cups-raw" : "text/plain";
    int job = cups().create_job(nullptr, printer.c_str(), title.c_str(), count, options);
    bool done = job != 0 &&
                cups().start_document(nullptr, printer.c_str(), job, title.c_str(), format, 1) == http_continue &&
                cups().write_data(nullptr, document.data(), document.size()) == http_continue;
    if (job != 0) done = cups().finish_document(nullptr, printer.c_str()) <= ipp_last_success && done;
    const char *why = cups().last_error();
    reason = why ? why : "";
    cups().free_options(count, options);
    return done;
}
