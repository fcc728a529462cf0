// The names of API functions in each language that messages may quote them in.
#pragma once
#include <string>

namespace quorva {

// The name of the C function `cName` as the language `language` calls it: the C name itself for
// "C"; the object-API name for "Java" and "C#", or "[undef <C name>]" when it has none there.
std::string apiNameIn(const std::string& language, const std::string& cName);

bool isKnownLanguage(const std::string& language);

}  // namespace quorva
