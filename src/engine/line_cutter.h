// A program's output cut into lines as it comes.
//
// A carriage return at a line's end goes, and so does a last line that only holds the end-of-file character of old
// systems.
#pragma once

#include <functional>
#include <string>
#include <string_view>

class rx_line_cutter {
public:
    /// Each line goes to `add` as soon as it is complete.
    explicit rx_line_cutter(std::function<void(std::string_view line)> add) : add_(std::move(add)) {}

    void take(std::string_view block) {
        for (size_t feed; (feed = block.find('\n')) != std::string_view::npos; block.remove_prefix(feed + 1)) {
            if (rest_.empty()) {
                finish_line(block.substr(0, feed));
            } else {
                rest_ += block.substr(0, feed);
                finish_line(rest_);
                rest_.clear();
            }
        }
        rest_ += block;
    }

    /// To be called at the end of the output.
    void finish() {
        if (!rest_.empty()) finish_line(rest_);
    }

private:
    static constexpr std::string_view old_end_of_file = "\x1A";

    void finish_line(std::string_view line) {
        if (held_back_) add_(old_end_of_file);
        if (line.ends_with('\r')) line.remove_suffix(1);
        held_back_ = line == old_end_of_file;
        if (!held_back_) add_(line);
    }

    std::function<void(std::string_view line)> add_;
    std::string rest_;       ///< the beginning of a line that isn't complete
    bool held_back_ = false; ///< the last line holds that character: it counts only when another follows
};
