#pragma once
// The JSON strings of scripts and transcripts: an argument may be written as
// one, and texts are shown as one.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace pelmora {

// A text as a JSON string: quotes, backslashes and control characters
// escaped; everything else, beyond ASCII too, as it is.
std::string JsonString(std::string_view text);

// Texts as a compact JSON array of strings: ["APPLE","PEAR"].
std::string JsonArray(const std::vector<std::string>& items);

// Reads the JSON string that starts at s[i] == '"' and leaves i behind it.
// A malformed one is a script error (RunAborted, status 2).
std::string ParseJsonString(const std::string& s, std::size_t& i);

}  // namespace pelmora
