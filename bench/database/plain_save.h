// The same rows through an engine's own interface, with nothing around it: one prepared upsert per row, each committed
// by itself, and one flush at the end.
#pragma once

// They end the program when something fails.
struct PlainLoop {
    void (*open)(const char *target);  // SQLite: a file; PostgreSQL: a connection string
    void (*save)(long first_row, long rows);
    void (*flush)(void);  // what was saved goes to stable storage
    void (*close)(void);
};

extern const PlainLoop PLAIN_SQLITE;
extern const PlainLoop PLAIN_POSTGRESQL;  // into schema PLAIN_BOX "_media"

static constexpr char PLAIN_BOX[] = "plain";
