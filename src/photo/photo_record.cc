// The cleaning rules of a photo record, shared by both photo tables.
#include "photo/photo_record.h"

static constexpr int32_t SIDE_MAX = 8000;  // pixels; no camera of the box's owners makes larger pictures

static void SideSanitize(int32_t *side)
{
    if (*side > SIDE_MAX || *side < 0)
        *side = 0;
}

static void TextSanitize(char *text)
{
    for (const char *c = text; *c; c++) {
        auto byte = static_cast<unsigned char>(*c);
        if (byte < 32 || byte >= 128) {
            *text = '\0';
            return;
        }
    }
}

void PhotoRecordSanitize(PhotoInfoRecord *record)
{
    SideSanitize(&record->resolution_x);
    SideSanitize(&record->resolution_y);
    TextSanitize(record->date_taken);
    TextSanitize(record->camera_make);
    TextSanitize(record->camera_model);
}
