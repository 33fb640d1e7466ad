// What is wrong with the box, and how to put it right.
#pragma once

#include <string>
#include <vector>

enum FindingWeight {
    FINDING_FAULT,  // something is not indexed because of it
    FINDING_NOTE,   // worth knowing
};

// Texts may hold any byte: there are paths in them.
struct Finding {
    const char *subject;  // "daemon"
    FindingWeight weight;
    std::string text;
    std::string mend;  // a sentence or a command; empty: nothing to be done
};

using Findings = std::vector<Finding>;
