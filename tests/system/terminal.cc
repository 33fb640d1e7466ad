// tmux draws the screen.
#include "system/terminal.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <sstream>

static std::string Tmux(const Texts &arguments)
{
    Texts command = {"tmux", "-u", "-f", "/dev/null", "-L", "test"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    Finished finished = ProgramRun(command, {"TERM=xterm-256color"});
    EXPECT_EQ(finished.status, 0) << finished.output;
    return finished.output;
}

Terminal::Terminal(const std::string &command, int columns, int rows)
{
    // The window outlives its command, so that the last screen can be read.
    Tmux({"new-session", "-d", "-x", std::to_string(columns), "-y", std::to_string(rows),
          command + "\nsleep 600"});
}

Terminal::~Terminal()
{
    Tmux({"kill-server"});
}

void Terminal::Resize(int columns, int rows)
{
    Tmux({"resize-window", "-x", std::to_string(columns), "-y", std::to_string(rows)});
}

void Terminal::Press(const std::string &key)
{
    Tmux({"send-keys", key});
}

Texts Terminal::Screen()
{
    Texts lines;
    std::istringstream text(Tmux({"capture-pane", "-p", "-S", "-"}));
    for (std::string line; std::getline(text, line);)
        lines.push_back(line.substr(0, line.find_last_not_of(' ') + 1));
    while (!lines.empty() && lines.back().empty())
        lines.pop_back();
    return lines;
}

bool Terminal::IsCursorShown()
{
    return Tmux({"display-message", "-p", "#{cursor_flag}"}) == "1\n";
}

std::string Joined(const Texts &lines)
{
    std::string text;
    for (const std::string &line : lines)
        text += line + '\n';
    return text;
}

Texts Terminal::WaitFor(const std::string &text, double seconds)
{
    Texts screen;
    for (double end = Clock() + seconds; Clock() < end; usleep(20000)) {
        screen = Screen();
        if (Joined(screen).find(text) != std::string::npos)
            return screen;
    }
    ADD_FAILURE() << "no \"" << text << "\" on the screen:\n" << Joined(screen);
    return {};
}
