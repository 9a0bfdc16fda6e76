#pragma once

/// Texts for the user, looked up by their English text.
namespace PDXLocalisation {

/// Takes the language of messages from the environment. Numbers keep the "C" form: they go into SQL and HTML.
/// @param catalogueFolder  where the translations are installed.
void start(const char* catalogueFolder);

}  // namespace PDXLocalisation

/// `english` in the user's language; the text itself where there is no translation.
const char* PDXLocalised(const char* english) __attribute__((format_arg(1)));
