#pragma once

#include <string>
#include <vector>

/// Texts for the user, looked up by their English text.
namespace PDXLocalisation {

/// Takes the language of messages from the environment. Numbers keep the "C" form: they go into SQL and HTML.
/// @param catalogueFolder  where the translations are installed.
void start(const char* catalogueFolder);

}  // namespace PDXLocalisation

/// `english` in the user's language; the text itself where there is no translation.
std::string PDXLocalised(const char* english);

/// The same with its places "%@" and "%lu" filled by the values in order.
std::string PDXLocalised(const char* english, const std::vector<std::string>& values);
