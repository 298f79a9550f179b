// What the library leaves alone in the process that loads it.
#include <clocale>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <mutex>
#include <set>
#include <string>
#include <thread>

#include <sys/stat.h>

#include <gtest/gtest.h>

#include "CreateFormatRenderInstance.h"
#include "RenderFixture.h"

using namespace QvFormat;
using namespace fixture;

namespace {

namespace fs = std::filesystem;

class HostProcessTest : public testing::Test {
protected:
    HostProcessTest() {
        fs::remove_all(folder);
        fs::create_directories(folder);
    }
    ~HostProcessTest() override { fs::remove_all(folder); }

    std::string WriteBook(const std::string& name, const std::u16string& text) const {
        const umdbook::Bytes bytes = TextBook(text);
        std::ofstream(folder / name, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()), static_cast<long>(bytes.size()));
        return folder / name;
    }

    static std::unique_ptr<IFormatRender> Open(const std::string& book) {
        IFormatRender* render = nullptr;
        EXPECT_EQ(CreateFormatRenderInstance(book.c_str(), &render), QV_S_OK);
        return std::unique_ptr<IFormatRender>(render);
    }

    std::set<std::string> Files() const {
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator(folder))
            names.insert(entry.path().filename());
        return names;
    }

    const fs::path folder = testing::TempDir() + "host-process-test";
};

// All of its host's process that a library might change unseen, as one text.
std::string ProcessState() {
    std::string state =
        std::string(std::setlocale(LC_ALL, nullptr)) + '\n' + fs::current_path().string() + '\n';
    const mode_t mask = umask(0);
    umask(mask);
    state += std::to_string(mask) + '\n';
    for (int signal = 1; signal < NSIG; ++signal) {
        struct sigaction action {};
        if (sigaction(signal, nullptr, &action) == 0)
            state += std::to_string(reinterpret_cast<std::uintptr_t>(action.sa_handler)) + ' ';
    }
    sigset_t blocked;
    sigemptyset(&blocked);
    sigprocmask(SIG_SETMASK, nullptr, &blocked);
    for (int signal = 1; signal < NSIG; ++signal)
        state += sigismember(&blocked, signal) == 1 ? '1' : '0';
    const auto descriptors = fs::directory_iterator("/proc/self/fd");
    return state + '\n' + std::to_string(std::distance(begin(descriptors), end(descriptors)));
}

TEST_F(HostProcessTest, ReadingABookLeavesLocaleSignalsFolderAndDescriptors) {
    const std::string book = WriteBook("a.umd", Novel(40000));
    Open(book)->DrawCurScreen({}, 0, 0); // fontconfig reads its files once
    const std::string before = ProcessState();
    {
        const auto render = Open(book);
        DrawText(*render);
        while (render->GotoNextScreen() == QV_S_OK)
            DrawText(*render);
    }
    EXPECT_EQ(ProcessState(), before);
}

TEST_F(HostProcessTest, ReadingABookWritesNothingButItsReadingDataBesideIt) {
    const std::string book = WriteBook("a.umd", Novel(40000));
    auto render = Open(book);
    const std::set<std::string> opened = Files();
    const auto lastWrite = [this] { return fs::last_write_time(folder); };
    const auto atOpening = lastWrite();
    for (int turn = 0; turn < 5; ++turn) {
        DrawText(*render);
        render->GotoNextScreen();
    }
    EXPECT_EQ(Files(), opened);
    EXPECT_EQ(lastWrite(), atOpening);
    render.reset();
    EXPECT_EQ(Files(), (std::set<std::string>{"a.umd", "a.umd.qvp"}));
}

TEST_F(HostProcessTest, BooksReadByTwoThreadsUnderALockShowWhatOneThreadShows) {
    const std::u16string text = Novel(TEST_EMULATED ? 10000 : 60000);
    const auto read = [](IFormatRender& render, std::mutex& lock) {
        std::string shown;
        for (QVRESULT turned = QV_S_OK; turned == QV_S_OK;) {
            const std::lock_guard guard(lock);
            std::vector<unsigned char> pixels(600 * 800);
            render.DrawCurScreen({0, pixels.data(), 800, 600, 600}, 0, 0);
            shown.append(pixels.begin(), pixels.end());
            turned = render.GotoNextScreen();
        }
        return std::hash<std::string>()(shown);
    };
    std::mutex lock;
    const auto alone = read(*Open(WriteBook("alone.umd", text)), lock);
    const auto first = Open(WriteBook("first.umd", text));
    const auto second = Open(WriteBook("second.umd", text));
    std::size_t shownByOther = 0;
    std::thread other([&] { shownByOther = read(*second, lock); });
    EXPECT_EQ(read(*first, lock), alone);
    other.join();
    EXPECT_EQ(shownByOther, alone);
}

} // namespace
