// Running statements on PostgreSQL: prepared once, their parameters in the types that the server tells.
#include <stdlib.h>
#include <string.h>

#include <charconv>

#include "nlib/utf8.h"
#include "nubodb/db_postgresql.h"
#include "nubodb/db_result.h"
#include "nubodb/postgresql_text.h"

static constexpr Oid TYPE_BYTEA = 17;
static constexpr Oid TYPE_TEXT = 25;
static constexpr Oid TYPE_FLOAT8 = 701;
static constexpr size_t COMPOSED_KEPT_MAX = 64;
static constexpr int CONFLICTS_MAX = 5;

// --- preparing

static int DescriptionTake(NuboDbConnection *connection, const char *what, PostgresqlStatement *statement)
{
    PostgresqlEngine *engine = PostgresqlEngineOf(connection);
    int result = 0;
    bool at_end = false;
    while (!at_end && !engine->broken) {
        PGresult *answer = PostgresqlResultNext(engine);
        if (!answer) {
            at_end = PQstatus(engine->link) != CONNECTION_OK;
            continue;  // between two answers
        }
        ExecStatusType status = PQresultStatus(answer);
        if (status == PGRES_PIPELINE_SYNC)
            at_end = true;
        else if (status == PGRES_COMMAND_OK && result == 0)
            for (int i = 0; i < PQnparams(answer); i++)
                statement->types.push_back(PQparamtype(answer, i));
        else if (status != PGRES_PIPELINE_ABORTED && result == 0)
            result = PostgresqlFail(connection, what, answer);
        PQclear(answer);
    }
    if (engine->broken || PQstatus(engine->link) != CONNECTION_OK)
        return result < 0 ? -1 : PostgresqlFail(connection, what, nullptr);
    return result;
}

// Prepares and asks for the types of the parameters in one journey.
static int Prepare(NuboDbConnection *connection, const char *what, const std::string &sql,
                   PostgresqlStatement *statement)
{
    PostgresqlEngine *engine = PostgresqlEngineOf(connection);
    statement->name = "s" + std::to_string(++engine->statement_number);
    const char *name = statement->name.c_str();
    bool sent = PQenterPipelineMode(engine->link) &&
                PQsendPrepare(engine->link, name, sql.c_str(), 0, nullptr) &&
                PQsendDescribePrepared(engine->link, name) && PQpipelineSync(engine->link);
    if (!sent) {
        engine->broken = true;
        return PostgresqlFail(connection, what, nullptr);
    }
    int result = DescriptionTake(connection, what, statement);
    if (!PQexitPipelineMode(engine->link))
        engine->broken = true;
    return result;
}

static const PostgresqlStatement *KeptStatement(NuboDbConnection *connection, const char *sql)
{
    PostgresqlEngine *engine = PostgresqlEngineOf(connection);
    auto found = engine->kept.find(sql);
    if (found != engine->kept.end())
        return &found->second;
    PostgresqlStatement statement;
    if (Prepare(connection, sql, PostgresqlTextOf(sql, false).sql, &statement) < 0)
        return nullptr;
    return &(engine->kept[sql] = std::move(statement));
}

// The daemon composes a handful of statements over and over, only the names in them differ.
static const PostgresqlStatement *ComposedStatement(NuboDbConnection *connection, const char *what,
                                                    const std::string &sql)
{
    PostgresqlEngine *engine = PostgresqlEngineOf(connection);
    auto found = engine->composed.find(sql);
    if (found != engine->composed.end())
        return &found->second;
    if (engine->composed.size() >= COMPOSED_KEPT_MAX) {
        engine->composed.clear();
        engine->kept.clear();
        PGresult *result = PostgresqlPlainRun(connection, "deallocate all");
        PQclear(result);
        if (!result)
            return nullptr;
    }
    PostgresqlStatement statement;
    if (Prepare(connection, what, sql, &statement) < 0)
        return nullptr;
    return &(engine->composed[sql] = std::move(statement));
}

// --- parameters

struct Parameters {
    std::vector<const char *> values;
    std::vector<int> lengths;
    std::vector<int> formats;
    std::vector<std::string> texts;  // those that had to be written
};

static void BytesAdd(Parameters *parameters, const DbValue &value)
{
    parameters->values.push_back(value.text);
    parameters->lengths.push_back(static_cast<int>(value.length));
    parameters->formats.push_back(1);
}

static void TextAdd(Parameters *parameters, std::string text)
{
    parameters->texts.push_back(std::move(text));
    parameters->values.push_back(parameters->texts.back().c_str());
    parameters->lengths.push_back(0);
    parameters->formats.push_back(0);
}

// Bytes, and texts that the server takes as they are, need no copy.
static void ParameterAdd(Parameters *parameters, const DbValue &value, Oid type)
{
    char number[64];
    if (value.type == DbValue::TEXT) {
        std::string_view text = {value.text, value.length};
        if (type == TYPE_BYTEA || (type == TYPE_TEXT && Utf8IsClean(text) && text.find('\0') == text.npos))
            BytesAdd(parameters, value);
        else
            TextAdd(parameters, Utf8Cleaned(text));
    } else if (value.type == DbValue::INTEGER) {
        TextAdd(parameters, std::to_string(value.integer));
    } else {
        char *end = std::to_chars(number, number + sizeof number, value.real).ptr;
        TextAdd(parameters, std::string(number, end));
    }
}

// --- rows

static char HexValue(char digit)
{
    return static_cast<char>(digit <= '9' ? digit - '0' : digit - 'a' + 10);
}

// The bytes of "\x2f76…".
static std::string HexDecoded(const char *text, size_t length)
{
    std::string bytes;
    bytes.reserve(length / 2);
    for (size_t i = 2; i + 1 < length; i += 2)
        bytes.push_back(static_cast<char>(HexValue(text[i]) << 4 | HexValue(text[i + 1])));
    return bytes;
}

static void FieldTake(const PGresult *answer, int row, int column, NuboDbResult *result)
{
    if (PQgetisnull(answer, row, column)) {
        DbResultAddNull(result);
        return;
    }
    const char *text = PQgetvalue(answer, row, column);
    auto length = static_cast<size_t>(PQgetlength(answer, row, column));
    Oid type = PQftype(answer, column);
    if (type == TYPE_BYTEA) {
        std::string bytes = HexDecoded(text, length);
        DbResultAdd(result, bytes.data(), bytes.size());
    } else if (type == TYPE_FLOAT8 && !strpbrk(text, ".enN")) {
        std::string number = std::string(text) + ".0";  // a real number looks like one on every engine
        DbResultAdd(result, number.data(), number.size());
    } else {
        DbResultAdd(result, text, length);
    }
}

static void RowsTake(const PGresult *answer, NuboDbResult *result)
{
    for (int column = 0; column < PQnfields(answer); column++)
        result->columns.emplace_back(PQfname(answer, column));
    for (int row = 0; row < PQntuples(answer); row++) {
        for (int column = 0; column < PQnfields(answer); column++)
            FieldTake(answer, row, column, result);
        result->rows++;
    }
}

// --- running

// Takes the one answer that is expected, and whatever else comes. Rows changed, or -1.
static int64_t AnswerTake(NuboDbConnection *connection, const char *what, NuboDbResult *result)
{
    PostgresqlEngine *engine = PostgresqlEngineOf(connection);
    int64_t changed = -1;
    bool answered = false;
    while (PGresult *answer = PostgresqlResultNext(engine)) {
        ExecStatusType status = PQresultStatus(answer);
        if (status == PGRES_TUPLES_OK || status == PGRES_COMMAND_OK) {
            changed = status == PGRES_TUPLES_OK ? 0 : strtoll(PQcmdTuples(answer), nullptr, 10);
            if (result)
                RowsTake(answer, result);
        } else {
            changed = PostgresqlFail(connection, what, answer);
        }
        answered = true;
        PQclear(answer);
    }
    if (engine->broken || PQstatus(engine->link) != CONNECTION_OK)
        return answered && changed < 0 ? -1 : PostgresqlFail(connection, what, nullptr);
    return changed;
}

static int64_t PreparedRun(NuboDbConnection *connection, const PostgresqlStatement &prepared, const char *what,
                           const DbValue *values, size_t count, NuboDbResult *result)
{
    PostgresqlEngine *engine = PostgresqlEngineOf(connection);
    Parameters parameters;
    parameters.texts.reserve(count);  // their addresses are in use
    parameters.values.reserve(count);
    parameters.lengths.reserve(count);
    parameters.formats.reserve(count);
    if (count != prepared.types.size()) {
        connection->error = std::string(what) + ": wrong number of parameters";
        connection->statement_fault = true;
        return -1;
    }
    for (size_t i = 0; i < count; i++)
        ParameterAdd(&parameters, values[i], prepared.types[i]);
    if (!PQsendQueryPrepared(engine->link, prepared.name.c_str(), static_cast<int>(count),
                             parameters.values.data(), parameters.lengths.data(), parameters.formats.data(), 0))
        return PostgresqlFail(connection, what, nullptr);
    int64_t changed = AnswerTake(connection, what, result);
    engine->unsynced = engine->unsynced || changed > 0;
    return changed;
}

static int64_t ComposedRun(NuboDbConnection *connection, const char *sql, NuboDbResult *result)
{
    PostgresqlText text = PostgresqlTextOf(sql, true);
    std::vector<DbValue> values;
    for (const std::string &literal : text.literals)
        values.push_back(DbText(literal.data(), literal.size()));
    const PostgresqlStatement *prepared = ComposedStatement(connection, sql, text.sql);
    return prepared ? PreparedRun(connection, *prepared, sql, values.data(), values.size(), result) : -1;
}

static int64_t StatementRun(NuboDbConnection *connection, const DbStatementText &statement,
                            NuboDbResult *result)
{
    if (statement.composed)
        return ComposedRun(connection, statement.sql, result);
    const PostgresqlStatement *prepared = KeptStatement(connection, statement.sql);
    if (!prepared)
        return -1;
    return PreparedRun(connection, *prepared, statement.sql, statement.values, statement.value_count, result);
}

// A batch would spend hours in front of the same lock.
static void ImpatienceBegin(NuboDbConnection *connection)
{
    PostgresqlEngine *engine = PostgresqlEngineOf(connection);
    std::string error = connection->error;
    PQclear(PostgresqlPlainRun(connection, "set lock_timeout = '5ms'"));
    engine->impatient = true;
    connection->error = error;
}

// Where a server lets one of two transactions fail that met, the statement is simply made again; a transaction of
// several cannot be.
int64_t PostgresqlRun(NuboDbConnection *connection, const DbStatementText &statement, NuboDbResult *result)
{
    PostgresqlEngine *engine = PostgresqlEngineOf(connection);
    int64_t changed = -1;
    for (int attempt = 0; attempt < CONFLICTS_MAX; attempt++) {
        engine->conflict = false;
        engine->lock_missed = false;
        changed = StatementRun(connection, statement, result);
        if (changed >= 0 || !engine->conflict || connection->in_transaction)
            break;
    }
    if (changed < 0 && engine->lock_missed && !engine->impatient && !connection->in_transaction)
        ImpatienceBegin(connection);
    return changed;
}
