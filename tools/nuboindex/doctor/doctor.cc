// nuboindex doctor: what makes indexing fail on this box, and how to mend it.
#include "command.h"
#include "doctor/checks.h"
#include "json_text.h"
#include "printable.h"

static Findings FindingsCollect()
{
    Findings findings;
    for (auto check : {RightsCheck, DaemonCheck, SharesCheck, WatcherCheck, FoldersCheck, ProgramsCheck,
                       DatabasesCheck, DisksCheck, FilesCheck})
        check(findings);
    return findings;
}

static size_t FaultCount(const Findings &findings)
{
    size_t count = 0;
    for (const Finding &finding : findings)
        count += finding.weight == FINDING_FAULT;
    return count;
}

static void TextPrint(const Findings &findings, const Output &output)
{
    static constexpr size_t SUBJECT_WIDTH = 10;
    for (const Finding &finding : findings) {
        std::string subject = finding.subject;
        subject.resize(SUBJECT_WIDTH, ' ');
        output.out << subject << PrintableText(finding.text) << '\n';
        if (!finding.mend.empty())
            output.out << std::string(SUBJECT_WIDTH, ' ') << "-> " << PrintableText(finding.mend) << '\n';
    }
    if (FaultCount(findings) == 0)
        output.out << "Nothing keeps the daemon from indexing.\n";
}

static void JsonPrint(const Findings &findings, const Output &output)
{
    Json array = Json::array();
    for (const Finding &finding : findings) {
        Json object;
        object["subject"] = finding.subject;
        object["fault"] = finding.weight == FINDING_FAULT;
        JsonTextSet(object, "text", finding.text);
        if (!finding.mend.empty())
            JsonTextSet(object, "mend", finding.mend);
        array.push_back(object);
    }
    output.out << JsonDump(array, output, 2) << '\n';
}

static int DoctorRun(bool as_json, const Output &output)
{
    Findings findings = FindingsCollect();
    as_json ? JsonPrint(findings, output) : TextPrint(findings, output);
    return FaultCount(findings) == 0 ? TOOL_OK : TOOL_FAILED;
}

void DoctorCommandDefine(CLI::App &app, CommandRun &chosen)
{
    CLI::App *command =
        app.add_subcommand("doctor", "Look for what makes indexing fail, and say how to mend it.");
    command->footer(
        "Exit status 1 when something is not indexed because of what was found. It reads every folder "
        "of the shares, and changes nothing there.");
    CLI::Option *json = JsonOptionDefine(*command);
    command->callback([&chosen, json] {
        chosen = [as_json = json->count() > 0](const Output &output) { return DoctorRun(as_json, output); };
    });
}
