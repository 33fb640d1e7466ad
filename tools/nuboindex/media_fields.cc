// Numbers arrive as text. What cannot be read as a number counts as unknown.
#include "media_fields.h"

#include <math.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>

#include "quantity_text.h"

static double Number(const std::string &value)
{
    double number = strtod(value.c_str(), nullptr);
    return isfinite(number) ? number : 0;
}

[[gnu::format(printf, 1, 2)]] static std::string Formatted(const char *format, ...)
{
    char text[128];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    return text;
}

static std::string Plain(const std::string &value)
{
    return value;
}

static std::string Count(const std::string &value)
{
    return Number(value) == 0 ? "" : value;
}

std::string DurationText(const std::string &seconds)
{
    double number = Number(seconds);
    if (number <= 0 || number > 1e9)
        return "";
    return ClockText(number);
}

static std::string Duration(const std::string &value)
{
    std::string text = DurationText(value);
    return text.empty() ? "" : text + Formatted(" (%.3f s)", Number(value));
}

static std::string WithUnit(const std::string &value, const char *unit)
{
    std::string count = Count(value);
    return count.empty() ? "" : count + unit;
}

static std::string BitRate(const std::string &value)
{
    return WithUnit(value, " bit/s");
}

static std::string Frequency(const std::string &value)
{
    return WithUnit(value, " Hz");
}

static std::string Pixels(const std::string &value)
{
    return WithUnit(value, " pixels");
}

// An empty file is known to be empty.
static std::string Bytes(const std::string &value)
{
    std::string text = value + " bytes";
    uint64_t bytes = strtoull(value.c_str(), nullptr, 10);
    return bytes < 1024 ? text : text + " (" + SizeText(bytes) + ")";
}

const MediaField MEDIA_FIELDS[25] = {
    {"title", Plain, false},         {"artist", Plain, false},      {"album", Plain, false},
    {"track", Count, true},          {"disc", Count, true},         {"year", Count, true},
    {"genre", Plain, false},         {"composer", Plain, false},    {"comment", Plain, false},
    {"duration", Duration, true},    {"bitrate", BitRate, true},    {"container_bitrate", BitRate, true},
    {"frequency", Frequency, true},  {"channels", Count, true},     {"resolution_x", Pixels, true},
    {"resolution_y", Pixels, true},  {"camera_make", Plain, false}, {"camera_model", Plain, false},
    {"exposure_time", Plain, false}, {"aperture", Plain, false},    {"iso", Count, true},
    {"date_taken", Plain, false},    {"create_time", Plain, false}, {"modify_time", Plain, false},
    {"filesize", Bytes, true},
};

std::string ResolutionText(const MediaRow &row)
{
    std::string width = Count(row("resolution_x")), height = Count(row("resolution_y"));
    return width.empty() || height.empty() ? "" : width + "x" + height;
}

std::string KilobitText(const std::string &bits)
{
    double number = Number(bits);
    return number <= 0 ? "" : Formatted("%.0f", number / 1000);
}

// Whole numbers stay whole.
static Json NumberJson(const std::string &value)
{
    Json number = Json::parse(value, nullptr, false);
    return number.is_number() ? number : Json(Number(value));
}

Json RowJson(const char *kind, const MediaRow &row)
{
    Json object;
    object["kind"] = kind;
    JsonTextSet(object, "path", row("path"));
    for (const MediaField &field : MEDIA_FIELDS) {
        std::string value = row(field.column);
        if (value.empty() || field.text(value).empty())
            continue;
        if (field.is_number)
            object[field.column] = NumberJson(value);
        else
            JsonTextSet(object, field.column, value);
    }
    return object;
}
