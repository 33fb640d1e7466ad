// What a line cannot express is refused here; the daemon could only misread it.
#include "queue_line.h"

std::optional<std::string> QueueLine(char letter, const std::string &argument, std::string &reason)
{
    std::string line = std::string(1, letter) + ":" + argument + "\n";
    if (argument.empty() && letter != 'R')
        reason = "it is empty";
    else if (argument.find('\n') != std::string::npos)
        reason = "a request cannot hold a line feed";
    else if (argument.find('\0') != std::string::npos)
        reason = "a request cannot hold a NUL byte";
    else if (line.size() > QUEUE_LINE_MAX)
        reason = "the request has " + std::to_string(line.size()) + " bytes, its line feed included; " +
                 std::to_string(QUEUE_LINE_MAX) + " are possible";
    else
        return line;
    return std::nullopt;
}

std::optional<std::string> QueueRenameLine(const std::string &new_path, const std::string &old_path,
                                           std::string &reason)
{
    for (const std::string *path : {&new_path, &old_path}) {
        if (path->empty()) {
            reason = "the path is empty";
            return std::nullopt;
        }
        if (path->find(':') != std::string::npos) {
            reason = "a rename cannot hold a colon; remove the old path and add the new one instead";
            return std::nullopt;
        }
    }
    return QueueLine('N', new_path + ":" + old_path, reason);
}
