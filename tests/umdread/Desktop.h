// A virtual display, a program on it, and a hand that types and points.
#pragma once

#include <chrono>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include <sys/types.h>

namespace desktop {

// Pixels of a window, red, green and blue.
struct Picture {
    int width = 0;
    int height = 0;
    std::string bytes;
};

// What the program says of a frame: "place=12:3" and so on.
using Frame = std::map<std::string, std::string>;
std::vector<int> Numbers(std::string text); // of "65,36,760,830"

class Display {
public:
    Display(int width, int height);
    ~Display();
    Display(const Display&) = delete;
    Display& operator=(const Display&) = delete;

private:
    pid_t m_nServer;
};

// umdread in a home folder that lasts from one start to the next.
class Program {
public:
    Program(const std::filesystem::path& home, const std::vector<std::string>& arguments,
            const std::vector<std::string>& environment = {});
    ~Program(); // killed if it still runs
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    pid_t Id() const { return m_nId; }
    const Frame& Last() const { return m_last; }
    std::string operator[](const std::string& field) const;

    // Reads frames up to one of which `condition` holds; false after a minute without.
    template<typename Condition>
    bool Await(Condition condition) {
        while (!condition(m_last)) {
            if (!ReadFrame())
                return false;
        }
        return true;
    }
    bool AwaitField(const std::string& field, const std::string& value);
    // Frames up to one that drew the page anew, after what `act` does.
    template<typename Act>
    bool AwaitDrawn(Act act) {
        m_last.clear();
        act();
        return AwaitField("drawn", "1");
    }
    // Up to the one that answers a key; one that was under way before does not.
    bool AwaitAnswer(const std::string& key);

    // How often a turn was prepared although the last one was not on the screen yet.
    int PreparedEarly() const { return m_nEarly; }

    void Signal(int signal);
    int Wait(); // its exit status; that of the shell, 128 and the signal, when a signal ended it
    std::string Errors() const; // what it wrote on standard error

private:
    bool ReadFrame();

    std::filesystem::path m_errors;
    pid_t m_nId = -1;
    int m_nOutput = -1;
    std::string m_pending;
    Frame m_last;
    bool m_bDrawn = false; // since a turn was prepared
    int m_nEarly = 0;
};

// xdotool with these arguments.
void Hand(const std::string& arguments);
std::string WindowId();
Picture Shot();
// Keeps the window's picture as a PNG file.
void Keep(const std::filesystem::path& file);

} // namespace desktop
