// Names in the texts of a dialog. Pure; wchar_t is the system's.
#pragma once

namespace report {

// Puts `name` in the place of the first `word` in the text, where that fits into its `size` characters. An ampersand of
// the name is doubled, as a dialog's texts have it. Returns whether the text has changed.
bool replace_word(wchar_t* text, unsigned size, const wchar_t* word, const wchar_t* name);

} // namespace report
