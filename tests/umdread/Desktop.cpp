#include "Desktop.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <stdexcept>

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace desktop {

namespace fs = std::filesystem;

namespace {

constexpr int patience = 60000; // milliseconds for a line of a program

// Starts a program that writes into the pipe handed back, from descriptor `from`.
pid_t Start(const std::vector<std::string>& command, const fs::path& errors, int from,
            int* pipeEnd) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe");
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string& argument : command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[1], from);
        dup2(open(errors.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600), STDERR_FILENO);
        execvp(arguments[0], arguments.data());
        _exit(127);
    }
    close(ends[1]);
    *pipeEnd = ends[0];
    return child;
}

// The next line from a pipe; false at its end or when none comes.
bool ReadLine(int file, std::string& pending, std::string& line) {
    std::size_t end = 0;
    while ((end = pending.find('\n')) == std::string::npos) {
        pollfd waiting = {file, POLLIN, 0};
        char bytes[4096];
        const ssize_t count =
            poll(&waiting, 1, patience) == 1 ? read(file, bytes, sizeof(bytes)) : 0;
        if (count <= 0)
            return false;
        pending.append(bytes, static_cast<std::size_t>(count));
    }
    line = pending.substr(0, end);
    pending.erase(0, end + 1);
    return true;
}

std::string Output(const std::string& command) {
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    std::string output;
    char bytes[65536];
    for (std::size_t count = 0; (count = fread(bytes, 1, sizeof(bytes), pipe.get())) > 0;)
        output.append(bytes, count);
    return output;
}

// "frame window=1 drawn=1 place=0:0 ... font=Serif, 20"; the value of the last two fields may hold
// spaces, so a new field begins at a word with "=" in it.
Frame Parse(const std::string& line) {
    Frame frame;
    std::istringstream words(line);
    std::string word;
    std::string field;
    while (words >> word) {
        const std::size_t equals = word.find('=');
        if (equals != std::string::npos) {
            field = word.substr(0, equals);
            frame[field] = word.substr(equals + 1);
        } else if (!field.empty()) {
            frame[field] += " " + word;
        }
    }
    return frame;
}

} // namespace

std::vector<int> Numbers(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c == ',' || c == ':'; }, ' ');
    std::istringstream numbers(text);
    return {std::istream_iterator<int>(numbers), {}};
}

Display::Display(int width, int height) {
    int output = -1;
    const std::string screen = std::to_string(width) + "x" + std::to_string(height) + "x24";
    m_nServer =
        Start({"Xvfb", "-displayfd", "3", "-screen", "0", screen, "-nolisten", "tcp", "-noreset"},
              "/dev/null", 3, &output);
    std::string pending;
    std::string number;
    if (!ReadLine(output, pending, number))
        throw std::runtime_error("Xvfb does not start");
    setenv("DISPLAY", (":" + number).c_str(), 1);
}

Display::~Display() {
    kill(m_nServer, SIGTERM);
    waitpid(m_nServer, nullptr, 0);
}

Program::Program(const fs::path& home, const std::vector<std::string>& arguments,
                 const std::vector<std::string>& environment)
    : m_errors(home / "errors") {
    for (const char* folder : {"config/gtk-4.0", "data", "cache", "run"})
        fs::create_directories(home / folder);
    fs::permissions(home / "run", fs::perms::owner_all);
    std::ofstream(home / "config/gtk-4.0/settings.ini")
        << "[Settings]\ngtk-enable-animations=false\n";
    std::vector<std::string> command = {"env", "-u", "DBUS_SESSION_BUS_ADDRESS"};
    for (const char* setting : {"GDK_BACKEND=x11", "GSK_RENDERER=cairo", "GDK_DEBUG=gl-disable",
                                "GTK_A11Y=none", "GSETTINGS_BACKEND=memory", "LC_ALL=C.UTF-8",
                                "UMDREAD_TRACE=1", "ASAN_OPTIONS=detect_leaks=0"})
        command.push_back(setting);
    for (const auto& [name, folder] :
         std::map<std::string, std::string>{{"HOME", ""},
                                            {"XDG_CONFIG_HOME", "config"},
                                            {"XDG_DATA_HOME", "data"},
                                            {"XDG_CACHE_HOME", "cache"},
                                            {"XDG_RUNTIME_DIR", "run"}})
        command.push_back(name + "=" + (home / folder).string());
    command.insert(command.end(), environment.begin(), environment.end());
    command.push_back(TEST_UMDREAD);
    command.insert(command.end(), arguments.begin(), arguments.end());
    m_nId = Start(command, m_errors, STDOUT_FILENO, &m_nOutput);
}

Program::~Program() {
    if (m_nId > 0) {
        kill(m_nId, SIGKILL);
        waitpid(m_nId, nullptr, 0);
    }
    close(m_nOutput);
}

std::string Program::operator[](const std::string& field) const {
    const auto found = m_last.find(field);
    return found != m_last.end() ? found->second : "";
}

bool Program::ReadFrame() {
    std::string line;
    if (!ReadLine(m_nOutput, m_pending, line))
        return false;
    m_last = Parse(line);
    if (m_last.count("prepared") > 0) {
        m_nEarly += !m_bDrawn;
        m_bDrawn = false;
    }
    m_bDrawn |= (*this)["drawn"] == "1";
    return true;
}

bool Program::AwaitField(const std::string& field, const std::string& value) {
    return Await(
        [&](const Frame& frame) { return frame.count(field) && frame.at(field) == value; });
}

bool Program::AwaitAnswer(const std::string& key) {
    m_last.clear();
    Hand("key " + key);
    return Await([](const Frame& frame) { return frame.count("us") > 0; });
}

void Program::Signal(int signal) {
    kill(m_nId, signal);
}

int Program::Wait() {
    int status = 0;
    waitpid(m_nId, &status, 0);
    m_nId = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::string Program::Errors() const {
    std::ifstream file(m_errors);
    return {std::istreambuf_iterator<char>(file), {}};
}

void Hand(const std::string& arguments) {
    if (std::system(("xdotool " + arguments).c_str()) != 0)
        throw std::runtime_error("xdotool " + arguments);
}

std::string WindowId() {
    const std::string found = Output("xdotool search --onlyvisible --class umdread");
    return found.substr(0, found.find('\n'));
}

Picture Shot() {
    const std::string pnm = Output("xwd -silent -id " + WindowId() + " | xwdtopnm 2>/dev/null");
    std::istringstream header(pnm.substr(0, 64));
    std::string magic;
    int most = 0;
    Picture picture;
    header >> magic >> picture.width >> picture.height >> most;
    picture.bytes = pnm.substr(static_cast<std::size_t>(header.tellg()) + 1);
    return picture;
}

void Keep(const fs::path& file) {
    fs::create_directories(file.parent_path());
    Output("xwd -silent -id " + WindowId() + " | xwdtopnm 2>/dev/null | pnmtopng -compression 9 " +
           "2>/dev/null >'" + file.string() + "'");
}

} // namespace desktop
