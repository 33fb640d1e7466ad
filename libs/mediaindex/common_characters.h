// Characters that song and album names are full of. A text in which they abound was decoded rightly.
#pragma once

// Han characters, in simplified, traditional and Japanese forms.
bool IsCommonHan(char32_t c);

// Hangul syllables.
bool IsCommonHangul(char32_t c);

// Cyrillic letters of either case: 0 for the most frequent ones, then 1, then 2 for the rest of the Russian
// alphabet, 3 for other Cyrillic letters.
int CyrillicRarity(char32_t c);
