// umdview: the reference host. Shows how an application uses the library: see Reader for paging and
// drawing, Book for descriptions and text, SavedPlace for the reader's place.
#include <algorithm>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <new>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "Commands.h"
#include "Output.h"

namespace {

using namespace umdview;

constexpr int kExitBadUsage = 2;
constexpr unsigned int kMaxScreenSide = 10000; // pixels
constexpr unsigned int kMaxLetterSize = 1000;  // pixels
constexpr unsigned int kMaxNumber = 999999999; // of a screen or a chapter

struct Arguments {
    std::string file;
    bool json = false;
    bool raw = false;
    unsigned int chapter = 0;
    std::vector<unsigned int> size = {600, 800}; // of a screen
    RenderOptions render;
};

// A whole number from 1 to `most`, and nothing else.
unsigned int ParseNumber(const std::string& option, const std::string& text, unsigned int most) {
    unsigned int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || number < 1 || number > most)
        throw CLI::ValidationError(option, "\"" + text + "\" is not a number from 1 to " +
                                               std::to_string(most));
    return number;
}

void ParseScreens(const std::string& text, RenderOptions& render) {
    const std::size_t dash = text.find('-');
    render.firstScreen = ParseNumber("--screens", text.substr(0, dash), kMaxNumber);
    render.lastScreen = render.firstScreen;
    if (dash != std::string::npos)
        render.lastScreen = ParseNumber("--screens", text.substr(dash + 1), kMaxNumber);
    if (render.lastScreen < render.firstScreen)
        throw CLI::ValidationError("--screens", "\"" + text + "\" ends before it begins");
}

// The size is the description's last word, as in "Serif 24".
void ParseFont(const std::string& text, Look& look) {
    const std::string size = text.substr(text.find_last_of(' ') + 1);
    look.letterSize = ParseNumber("--font", size, kMaxLetterSize);
    look.font = text;
}

// What the options of a render command come to when all of them are known.
RenderOptions Complete(const Arguments& arguments) {
    RenderOptions render = arguments.render;
    render.book = arguments.file;
    render.look.width = arguments.size[0];
    render.look.height = arguments.size[1];
    if (2 * render.look.margin >= std::min(render.look.width, render.look.height))
        throw CLI::ValidationError("--margin", "it leaves nothing of the screen");
    if (!(render.position >= 0 && render.position <= 1)) // refuses what is not a number, too
        throw CLI::ValidationError("--position", "it is not a fraction from 0 to 1");
    return render;
}

// A command that takes one file.
CLI::App& AddCommand(CLI::App& app, const std::string& name, const std::string& purpose,
                     Arguments& arguments, const std::string& file, const std::string& fileHelp) {
    CLI::App& command = *app.add_subcommand(name, purpose);
    command.set_version_flag("--version", "umdview " UMDVIEW_VERSION);
    command.add_option(file, arguments.file, fileHelp)->required()->type_name("");
    return command;
}

// A whole number of at least `least`.
CLI::Option* AddNumber(CLI::App& command, const std::string& name, unsigned int& number,
                       unsigned int least, unsigned int most, const std::string& purpose) {
    return command.add_option(name, number, purpose)
        ->check(CLI::Range(least, most).description(""))
        ->type_name("N");
}

void AddLookOptions(CLI::App& command, Arguments& arguments) {
    Look& look = arguments.render.look;
    command.add_option("--size", arguments.size, "Size of a screen in pixels (default: 600x800)")
        ->delimiter('x')
        ->expected(2)
        ->check(CLI::Range(1u, kMaxScreenSide).description(""))
        ->option_text("WxH");
    command
        .add_option_function<std::string>(
            "--font", [&look](const std::string& text) { ParseFont(text, look); },
            "Font of the letters as Pango describes it, with its size in pixels at the end; "
            "paragraphs are indented by two letters (default: the library's, \"fzlth 18\")")
        ->type_name("\"FAMILY SIZE\"");
    AddNumber(command, "--margin", look.margin, 0, kMaxScreenSide,
              "Margin on each side in pixels (default: 0)");
    AddNumber(command, "--line-spacing", look.lineSpacing, 0, kMaxScreenSide,
              "Space between two lines in pixels (default: 0)");
}

// Where drawing begins; one of them at most.
void AddPlaceOptions(CLI::App& command, Arguments& arguments) {
    CLI::Option* position =
        command
            .add_option("--position", arguments.render.position,
                        "Where to begin, as a fraction of the book from 0 to 1 (default: 0)")
            ->type_name("F");
    CLI::Option* chapter = AddNumber(command, "--chapter", arguments.render.chapter, 1, kMaxNumber,
                                     "Begin at this chapter, as umdview info counts them")
                               ->excludes(position);
    command
        .add_flag(
            "--resume", arguments.render.resume,
            "Begin at the saved place, and keep it at the last screen drawn; without this the "
            "saved place is neither used nor moved")
        ->excludes(position, chapter);
}

void AddRenderOptions(CLI::App& command, Arguments& arguments) {
    RenderOptions& render = arguments.render;
    command.add_option("--out", render.folder, "Folder for the images; made when missing")
        ->required()
        ->type_name("DIR");
    CLI::Option* screens = command.add_option_function<std::string>(
        "--screens", [&render](const std::string& text) { ParseScreens(text, render); },
        "Screens to draw, A-B or one alone, counted from 1 where drawing begins (default: 1-10)");
    screens->type_name("A-B");
    command
        .add_flag_callback(
            "--all", [&render] { render.lastScreen = std::numeric_limits<long>::max(); },
            "Draw all screens up to the end of the book")
        ->excludes(screens);
    AddLookOptions(command, arguments);
    AddPlaceOptions(command, arguments);
    command.add_option("--format", render.format, "Image format (default: png)")
        ->check(CLI::IsMember({"png", "pgm"}))
        ->type_name("NAME");
}

// Adds all commands. The one that is asked for runs as soon as the command line is parsed, and
// stores its exit status.
void AddCommands(CLI::App& app, Arguments& arguments, int& status) {
    const auto add = [&](const std::string& name, const std::string& purpose) -> CLI::App& {
        return AddCommand(app, name, purpose, arguments, "BOOK", "The UMD book's file");
    };
    CLI::App& info = add("info", "Tell what a book is");
    info.add_flag("--json", arguments.json, "For machines");
    info.callback([&] { status = RunInfo(arguments.file, arguments.json); });

    CLI::App& text = add("text", "Write a book's text to standard output as UTF-8");
    text.add_flag("--raw", arguments.raw, "Keep paragraph separators instead of newlines");
    AddNumber(text, "--chapter", arguments.chapter, 1, kMaxNumber,
              "Write this chapter alone, as umdview info counts them");
    text.callback([&] { status = RunText(arguments.file, arguments.chapter, arguments.raw); });

    CLI::App& render = add("render", "Draw screens of a book into image files");
    AddRenderOptions(render, arguments);
    render.callback([&] { status = RunRender(Complete(arguments)); });

    CLI::App& readingData = AddCommand(
        app, "readingdata", "Tell what the library and applications have stored with a book",
        arguments, "FILE", "A reading-data file, or the book it lies beside");
    readingData.add_flag("--json", arguments.json, "For machines");
    readingData.callback([&] { status = RunReadingData(arguments.file, arguments.json); });
}

int ParseAndRun(int argc, char** argv) {
    CLI::App app("Looks into UMD e-books and draws their screens.", "umdview");
    app.set_version_flag("--version", "umdview " UMDVIEW_VERSION);
    app.require_subcommand(1);
    Arguments arguments;
    int status = EXIT_SUCCESS;
    AddCommands(app, arguments, status);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& help) { // or the version
        return app.exit(help);
    } catch (const CLI::ParseError& error) {
        std::fprintf(stderr, "umdview: %s\nTry umdview --help.\n", error.what());
        return kExitBadUsage;
    }
    return status;
}

} // namespace

int main(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN); // a write then fails with EPIPE, and the command ends quietly
    try {
        return ParseAndRun(argc, argv);
    } catch (const OutputClosed&) {
        return EXIT_SUCCESS;
    } catch (const std::bad_alloc&) {
        std::fputs("umdview: out of memory\n", stderr);
    } catch (const std::exception& error) { // a Failure, which says what file it is about
        std::fprintf(stderr, "umdview: %s\n", error.what());
    }
    return EXIT_FAILURE;
}
