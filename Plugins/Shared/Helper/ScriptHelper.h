// Host scripts and string trimming. RunSriptAndGetStringResult throws the int
// 13 when the host lacks the utility or memory suite (or basic is null), and
// gives an empty string when the host leaves no result.
#pragma once

#include <string>

#include "SPBasic.h"

namespace Ostrivane {
namespace GaussianBlur {

class ScriptHelper {
public:
    // Runs script through the host and returns the text of its result. The
    // host's error text is not looked at; a failing script shows only in the result.
    static std::string RunSriptAndGetStringResult(SPBasicSuite* basic, const char* script);
    // A copy without the leading and trailing bytes for which isspace holds in
    // the current locale; multi-byte text is not decoded.
    static std::string TrimStringWhiteSpaces(const std::string& text);
};

}  // namespace GaussianBlur
}  // namespace Ostrivane
