#pragma once

#include <string>
#include <vector>

/// The text functions in simple steps. They may be slow.
namespace oracle {

void tokenizeString(const std::string& text, std::vector<std::string>& tokens,
                    const std::string& delimiters);
void replaceMrkPause(std::string& text);
void replaceIncorrectApostrophe(std::string& text);
std::size_t countUtf8Chars(const char* text);
std::string replaceTags(const std::string& text, const char* replacement);
bool isTagsOnlySentence(const std::string& text);

}  // namespace oracle
