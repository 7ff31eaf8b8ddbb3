#include "base/messages.h"

#include <array>

namespace {

constexpr std::array<std::string_view, 99> catalogue = [] {
    std::array<std::string_view, 99> text{};
    text[1] = "Unmatched Quote.";
    text[2] = "Unmatched Double Quote.";
    text[4] = "Program interrupted.";
    text[5] = "Machine resources exhausted.";
    text[6] = "Unmatched /*.";
    text[7] = "WHEN or OTHERWISE expected.";
    text[8] = "Unexpected THEN or ELSE.";
    text[15] = "Invalid hexadecimal constant.";
    text[16] = "Label not found.";
    text[18] = "THEN expected.";
    text[20] = "Symbol expected.";
    text[24] = "Invalid TRACE request.";
    text[25] = "Invalid sub-keyword found.";
    text[26] = "Invalid whole number.";
    text[27] = "Invalid DO syntax.";
    text[28] = "Invalid LEAVE or ITERATE.";
    text[31] = "Name starts with number or dot.";
    text[34] = "Logical value not 0 or 1.";
    text[38] = "Invalid template or pattern.";
    text[40] = "Incorrect call to routine.";
    text[41] = "Bad arithmetic conversion.";
    text[42] = "Arithmetics overflow/underflow.";
    text[43] = "Routine not found.";
    text[44] = "Function did not return data.";
    text[46] = "Invalid variable reference.";
    text[50] = "Invalid IF syntax.";
    text[51] = "Zero divide.";
    text[52] = "Invalid SELECT syntax.";
    text[53] = "WHEN expected before OTHERWISE.";
    text[54] = "Invalid CALL label.";
    text[55] = "Syntax error.";
    text[56] = "Environment not found.";
    text[57] = "No match: OTHERWISE expected.";
    text[58] = "Unable to create a pipe.";
    text[59] = "Error while reading a pipe.";
    text[60] = "Command not found.";
    text[61] = "Parser stack overflow.";
    text[62] = "Out of memory.";
    text[63] = "Invalid directory.";
    text[64] = "Incomplete DO.";
    text[65] = "Incomplete SELECT.";
    text[66] = "Incomplete IF.";
    text[67] = "Invalid binary string.";
    text[68] = "Unable to display panel.";
    text[69] = "No opened panel.";
    text[70] = "Unable to save panel.";
    text[71] = "Uninitialized variable.";
    text[72] = "Handle not found.";
    text[73] = "Invalid input number.";
    text[74] = "Invalid toggle number.";
    text[75] = "Invalid toggle rank.";
    text[76] = "Invalid compiled file.";
    text[78] = "Index error.";
    text[79] = "Index overflow.";
    text[80] = "Invalid choice number.";
    text[81] = "Invalid list number.";
    text[82] = "Invalid list rank.";
    text[83] = "Item not found.";
    text[84] = "Invalid RGB value.";
    text[85] = "Unable to start thread.";
    text[86] = "Program does not start.";
    text[88] = "Invalid SOCKET domain.";
    text[89] = "Invalid SOCKET type.";
    text[90] = "Invalid SOCKET protocol.";
    text[91] = "Invalid SOCKET level.";
    text[92] = "Invalid socket-level option.";
    text[93] = "Invalid socket-level parameter.";
    text[94] = "Invalid family address.";
    text[95] = "Invalid HOST address.";
    text[96] = "Invalid SOCKET port number.";
    text[98] = "Invalid SIGNAL name.";
    return text;
}();

} // namespace

std::string_view rx_error_text(int number) {
    if (number < 0 || number >= static_cast<int>(catalogue.size())) return "Unknown error.";
    return catalogue[static_cast<size_t>(number)];
}
