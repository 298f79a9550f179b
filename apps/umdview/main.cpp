// umdview: the reference host. Shows how an application uses the library: see Reader for paging and
// drawing, Book for descriptions and text.
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>
#include <string_view>

#include <CLI/CLI.hpp>

#include "InfoCommand.h"
#include "Output.h"
#include "ReadingDataCommand.h"
#include "RenderCommand.h"
#include "TextCommand.h"
#include "common/Failure.h"

namespace {

using namespace umdview;
using namespace umdhost;

constexpr int exitBadUsage = 2;
constexpr unsigned int maxScreenSide = 10000;
constexpr unsigned int maxFontSize = 1000;
constexpr long maxScreenNumber = 999999999;

struct Arguments {
    std::string book;
    bool json = false;
    bool raw = false;
    bool allScreens = false;
    RenderOptions render;
};

// A whole number from 1 to `most`, and nothing else.
long ParseNumber(const std::string& option, std::string_view text, long most) {
    long number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || number < 1 || number > most)
        throw CLI::ValidationError(option, "\"" + std::string(text) +
                                               "\" is not a number from 1 to " +
                                               std::to_string(most));
    return number;
}

void ParseSize(const std::string& text, RenderOptions& options) {
    const std::string_view size = text;
    const std::size_t cross = size.find('x');
    if (cross == std::string_view::npos)
        throw CLI::ValidationError("--size", "\"" + text + "\" is not of the form WxH");
    options.width =
        static_cast<unsigned int>(ParseNumber("--size", size.substr(0, cross), maxScreenSide));
    options.height =
        static_cast<unsigned int>(ParseNumber("--size", size.substr(cross + 1), maxScreenSide));
}

void ParseScreens(const std::string& text, ScreenRange& screens) {
    const std::string_view range = text;
    const std::size_t dash = range.find('-');
    screens.first = ParseNumber("--screens", range.substr(0, dash), maxScreenNumber);
    screens.last = screens.first;
    if (dash != std::string_view::npos)
        screens.last = ParseNumber("--screens", range.substr(dash + 1), maxScreenNumber);
    if (screens.last < screens.first)
        throw CLI::ValidationError("--screens", "\"" + text + "\" ends before it begins");
}

// Written so that it refuses what is not a number, too.
void CheckPosition(float position) {
    if (!(position >= 0 && position <= 1))
        throw CLI::ValidationError("--position", "it is not a fraction from 0 to 1");
}

CLI::App* AddCommand(CLI::App& app, const std::string& name, const std::string& purpose) {
    CLI::App* command = app.add_subcommand(name, purpose);
    command->set_version_flag("--version", "umdview " UMDVIEW_VERSION);
    return command;
}

CLI::App* AddBookCommand(CLI::App& app, const std::string& name, const std::string& purpose,
                         Arguments& arguments) {
    CLI::App* command = AddCommand(app, name, purpose);
    command->add_option("BOOK", arguments.book, "The UMD book's file")->required()->type_name("");
    return command;
}

void AddReadingDataCommand(CLI::App& app, Arguments& arguments) {
    CLI::App* command = AddCommand(
        app, "readingdata", "Tell what the library and applications have stored with a book");
    command->add_option("FILE", arguments.book, "A reading-data file, or the book it lies beside")
        ->required()
        ->type_name("");
    command->add_flag("--json", arguments.json, "For machines");
}

void AddRenderOptions(CLI::App& command, Arguments& arguments) {
    RenderOptions& render = arguments.render;
    command.add_option("--out", render.folder, "Folder for the images; made when missing")
        ->required()
        ->type_name("DIR");
    const auto screens = command.add_option_function<std::string>(
        "--screens", [&render](const std::string& text) { ParseScreens(text, render.screens); },
        "Screens to draw, A-B or one alone, counted from 1 at the position (default: 1-10)");
    screens->type_name("A-B");
    command.add_flag("--all", arguments.allScreens, "Draw all screens up to the end of the book")
        ->excludes(screens);
    command
        .add_option_function<std::string>(
            "--size", [&render](const std::string& text) { ParseSize(text, render); },
            "Size of a screen in pixels (default: 600x800)")
        ->type_name("WxH");
    command
        .add_option("--font-size", render.fontSize,
                    "Font size in pixels, by which paragraphs are indented twice; the letters "
                    "keep the size of the library's font")
        ->check(CLI::Range(1U, maxFontSize))
        ->type_name("N");
    const auto position = command.add_option_function<float>(
        "--position",
        [&render](float fraction) {
            CheckPosition(fraction);
            render.position = fraction;
        },
        "Where to begin, as a fraction of the book from 0 to 1 (default: 0)");
    position->type_name("F");
    command
        .add_flag(
            "--resume", render.resume,
            "Begin at the saved place, and keep it at the last screen drawn; without this the "
            "saved place is neither used nor moved")
        ->excludes(position);
    command
        .add_option_function<std::string>(
            "--format",
            [&render](const std::string& name) {
                render.format = name == "pgm" ? ImageFormat::Pgm : ImageFormat::Png;
            },
            "Image format (default: png)")
        ->check(CLI::IsMember({"png", "pgm"}))
        ->type_name("NAME");
}

// "umdview: REASON" for a command line that makes no sense; help and version for who asked.
int StopAtArguments(const CLI::App& app, const CLI::ParseError& error) {
    if (error.get_exit_code() == EXIT_SUCCESS)
        return app.exit(error);
    std::fprintf(stderr, "umdview: %s\nTry umdview --help.\n", error.what());
    return exitBadUsage;
}

int Run(const CLI::App& app, Arguments& arguments) {
    if (app.got_subcommand("info"))
        return RunInfo(arguments.book, arguments.json);
    if (app.got_subcommand("text"))
        return RunText(arguments.book, arguments.raw);
    if (app.got_subcommand("readingdata"))
        return RunReadingData(arguments.book, arguments.json);
    arguments.render.book = arguments.book;
    if (arguments.allScreens)
        arguments.render.screens.last = ScreenRange::unlimited;
    return RunRender(arguments.render);
}

int RunAndReport(const CLI::App& app, Arguments& arguments) {
    try {
        return Run(app, arguments);
    } catch (const OutputClosed&) {
        return EXIT_SUCCESS;
    } catch (const Failure& failure) {
        std::fprintf(stderr, "umdview: %s\n", failure.what());
    } catch (const std::bad_alloc&) {
        Report(arguments.book, "out of memory");
    } catch (const std::exception& error) {
        Report(arguments.book, error.what());
    }
    return EXIT_FAILURE;
}

int ParseAndRun(int argc, char** argv) {
    CLI::App app("Looks into UMD e-books and draws their screens.", "umdview");
    app.set_version_flag("--version", "umdview " UMDVIEW_VERSION);
    app.require_subcommand(1);
    Arguments arguments;
    AddBookCommand(app, "info", "Tell what a book is", arguments)
        ->add_flag("--json", arguments.json, "For machines");
    AddBookCommand(app, "text", "Write a book's text to standard output as UTF-8", arguments)
        ->add_flag("--raw", arguments.raw, "Keep paragraph separators instead of newlines");
    AddRenderOptions(
        *AddBookCommand(app, "render", "Draw screens of a book into image files", arguments),
        arguments);
    AddReadingDataCommand(app, arguments);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return StopAtArguments(app, error);
    }
    return RunAndReport(app, arguments);
}

} // namespace

int main(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN); // a write then fails with EPIPE, and the command ends quietly
    try {
        return ParseAndRun(argc, argv);
    } catch (...) { // only memory can be missing before a command runs
        std::fputs("umdview: out of memory\n", stderr);
        return EXIT_FAILURE;
    }
}
