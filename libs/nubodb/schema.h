// The schema files, built into the library.
#pragma once

#include <span>

#include "nubodb/database.h"

struct SchemaStep {
    const char *engine;  // the driver's name
    DbName database;
    int version;      // the version that a database has after this step; they follow each other from 1
    const char *sql;  // several statements
};

// Of all engines and databases; those of one follow each other.
std::span<const SchemaStep> SchemaSteps();

// The newest version that this program knows.
int SchemaNewestVersion(const char *engine, DbName database);

// Is a database of this version one that this program can bring up to date, or, where it may only read, one that is? -1
// with the reason in `error`.
int SchemaVersionCheck(const char *engine, DbName database, int version, std::string *error);
