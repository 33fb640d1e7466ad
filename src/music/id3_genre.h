// The genre names of ID3 by number.
#pragma once

static constexpr int ID3_GENRE_COUNT = 148;

// Numbers 0 to 147; the names stand as the world writes them, "Psychadelic" and "Bebob" included.
extern const char *const Id3GenreTable[ID3_GENRE_COUNT];
