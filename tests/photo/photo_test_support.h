// What the tests of the photo side share.
#pragma once

#include <regex>
#include <string>
#include <vector>

#include "common/paths.h"
#include "photo/system_calls.h"
#include "support/log_capture.h"
#include "support/platform_fake.h"
#include "support/scratch.h"

using Lines = std::vector<std::string>;

// The captured log with the line numbers of the rarer forms replaced too: "module(12) ", "module: name(12) - " and
// "(module, 12) ".
inline Lines LogLines()
{
    static const std::regex forms[] = {
        std::regex("^(\\w+\\()\\d+(\\) )"),
        std::regex("^(\\w+: \\w+\\()\\d+(\\) - )"),
        std::regex("^(\\(\\w+, )\\d+(\\) )"),
    };
    Lines lines = log_lines;
    for (std::string &line : lines)
        for (const std::regex &form : forms)
            line = std::regex_replace(line, form, "$1#$2");
    return lines;
}

// Where the double's NUBOEAPath puts a description.
inline std::string DescriptionPath(const std::string &path, const std::string &key)
{
    return path + "@" + key;
}

// The calls whose line begins with `name`.
inline Lines CallsOf(const std::string &name)
{
    Lines found;
    for (const std::string &call : platform.calls)
        if (call.compare(0, name.size(), name) == 0)
            found.push_back(call);
    return found;
}

// Names that a careless statement would take for something else. The last one has 255 bytes.
inline Lines OddNames()
{
    return {"it's",
            "''",
            "a\\",
            "\\'; drop table photo; --",
            "100%",
            "a_b",
            "%s%n",
            "a:b",
            "caf\xe9 \xff\xfe",
            "two\nlines",
            "\xc3\xa9t\xc3\xa9",
            std::string(251, '\'') + ".jpg"};
}
