// The schema files, built into the library.
#pragma once

#include "nubodb/database.h"

struct SchemaStep {
    DbName database;
    int version;      // the version that a database has after this step; they follow each other from 1
    const char *sql;  // several statements
};

extern const SchemaStep SCHEMA_STEPS[];
extern const int SCHEMA_STEP_COUNT;
