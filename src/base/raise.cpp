#include "base/raise.h"

#include "base/output.h"
#include "platform/stack.h"

#include <cstdlib>

namespace {

void store(int number, std::string *extra) {
    rx_error.number = number;
    rx_error.has_extra = extra != nullptr;
    rx_error.extra = extra ? std::move(*extra) : std::string();
}

[[noreturn]] void raise(int number, std::string *extra) {
    rx_error.number = number;
    if (rx_syntax_trap) rx_syntax_trap(number, extra);
    store(number, extra);
    rx_before_unwinding();
    throw rx_jmp_syntax{};
}

} // namespace

void rx_raise(int number) {
    raise(number, nullptr);
}

void rx_raise(int number, std::string extra) {
    raise(number, &extra);
}

void rx_raise_at(unsigned line, unsigned column, int number) {
    rx_error.line = line;
    rx_error.column = column;
    raise(number, nullptr);
}

void rx_raise_at(unsigned line, unsigned column, int number, std::string extra) {
    rx_error.line = line;
    rx_error.column = column;
    raise(number, &extra);
}

void rx_raise_parse(int number) {
    store(number, nullptr);
    rx_before_unwinding();
    throw rx_jmp_parse{};
}

void rx_raise_parse(int number, std::string extra) {
    store(number, &extra);
    rx_before_unwinding();
    throw rx_jmp_parse{};
}

void rx_exit_run(int code) {
    rx_exit_value->code = code;
    rx_exit_value->text.clear();
    rx_exit_value->has_text = false;
    rx_before_unwinding();
    throw rx_jmp_exit{};
}

void rx_internal_error(std::string_view where, int n) {
    rx_print_error("vandra: " + std::string(where) + ": internal error " + std::to_string(n));
    std::exit(1);
}
