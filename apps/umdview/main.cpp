// umdview: the reference host. Shows how an application uses the library: see Reader for paging and
// drawing, Book for descriptions and text.
#include <algorithm>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "Commands.h"
#include "Output.h"
#include "common/Failure.h"

namespace {

using namespace umdview;
using namespace umdhost;

constexpr int kExitBadUsage = 2;
constexpr unsigned int kMaxScreenSide = 10000; // pixels
constexpr long kMaxLetterSize = 1000;          // pixels
constexpr long kMaxNumber = 999999999;         // of a screen or a chapter

struct Arguments {
    std::string book;
    bool json = false;
    bool raw = false;
    std::vector<unsigned int> size = {600, 800}; // of a screen
    RenderOptions render;
};

// A whole number from 1 to `most`, and nothing else.
long ParseNumber(const std::string& option, const std::string& text, long most) {
    long number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || number < 1 || number > most)
        throw CLI::ValidationError(option, "\"" + text + "\" is not a number from 1 to " +
                                               std::to_string(most));
    return number;
}

void ParseScreens(const std::string& text, ScreenRange& screens) {
    const std::size_t dash = text.find('-');
    screens.first = ParseNumber("--screens", text.substr(0, dash), kMaxNumber);
    screens.last = screens.first;
    if (dash != std::string::npos)
        screens.last = ParseNumber("--screens", text.substr(dash + 1), kMaxNumber);
    if (screens.last < screens.first)
        throw CLI::ValidationError("--screens", "\"" + text + "\" ends before it begins");
}

// The size is the description's last word, as in "Serif 24".
void ParseFont(const std::string& text, Look& look) {
    const std::string size = text.substr(text.find_last_of(' ') + 1);
    look.letterSize = static_cast<unsigned int>(ParseNumber("--font", size, kMaxLetterSize));
    look.font = text;
}

// Written so that it refuses what is not a number, too.
void ParsePosition(float position, RenderOptions& render) {
    if (!(position >= 0 && position <= 1))
        throw CLI::ValidationError("--position", "it is not a fraction from 0 to 1");
    render.position = position;
}

// What is left to do with the options of a render command when all of them are known.
void Complete(Arguments& arguments) {
    Look& look = arguments.render.look;
    look.width = arguments.size[0];
    look.height = arguments.size[1];
    if (2 * look.margin >= std::min(look.width, look.height))
        throw CLI::ValidationError("--margin", "it leaves nothing of the screen");
}

// From `least` up; help texts are told without it.
CLI::Validator Pixels(unsigned int least) {
    return CLI::Range(least, kMaxScreenSide).description("");
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

CLI::Option* AddChapterOption(CLI::App& command, Arguments& arguments, const char* purpose) {
    return command.add_option("--chapter", arguments.render.chapter, purpose)
        ->check(CLI::Range(1L, kMaxNumber).description(""))
        ->type_name("N");
}

void AddLookOptions(CLI::App& command, Arguments& arguments) {
    Look& look = arguments.render.look;
    command.add_option("--size", arguments.size, "Size of a screen in pixels (default: 600x800)")
        ->delimiter('x')
        ->expected(2)
        ->check(Pixels(1))
        ->option_text("WxH");
    command
        .add_option_function<std::string>(
            "--font", [&look](const std::string& text) { ParseFont(text, look); },
            "Font of the letters as Pango describes it, with its size in pixels at the end; "
            "paragraphs are indented by two letters (default: the library's, \"fzlth 18\")")
        ->type_name("\"FAMILY SIZE\"");
    command.add_option("--margin", look.margin, "Margin on each side in pixels (default: 0)")
        ->check(Pixels(0))
        ->type_name("N");
    command
        .add_option("--line-spacing", look.lineSpacing,
                    "Space between two lines in pixels (default: 0)")
        ->check(Pixels(0))
        ->type_name("N");
}

// Where drawing begins; one of them at most.
void AddPlaceOptions(CLI::App& command, Arguments& arguments) {
    const auto position = command.add_option_function<float>(
        "--position", [&arguments](float fraction) { ParsePosition(fraction, arguments.render); },
        "Where to begin, as a fraction of the book from 0 to 1 (default: 0)");
    position->type_name("F");
    const auto chapter =
        AddChapterOption(command, arguments, "Begin at this chapter, as umdview info counts them");
    chapter->excludes(position);
    command
        .add_flag(
            "--resume", arguments.render.resume,
            "Begin at the saved place, and keep it at the last screen drawn; without this the "
            "saved place is neither used nor moved")
        ->excludes(position)
        ->excludes(chapter);
}

void AddRenderOptions(CLI::App& command, Arguments& arguments) {
    RenderOptions& render = arguments.render;
    command.add_option("--out", render.folder, "Folder for the images; made when missing")
        ->required()
        ->type_name("DIR");
    const auto screens = command.add_option_function<std::string>(
        "--screens", [&render](const std::string& text) { ParseScreens(text, render.screens); },
        "Screens to draw, A-B or one alone, counted from 1 where drawing begins (default: 1-10)");
    screens->type_name("A-B");
    command
        .add_flag_callback(
            "--all", [&render] { render.screens.last = ScreenRange::kUnlimited; },
            "Draw all screens up to the end of the book")
        ->excludes(screens);
    AddLookOptions(command, arguments);
    AddPlaceOptions(command, arguments);
    command.add_option("--format", render.format, "Image format (default: png)")
        ->check(CLI::IsMember({"png", "pgm"}))
        ->type_name("NAME");
    command.callback([&arguments] { Complete(arguments); });
}

// "umdview: REASON" for a command line that makes no sense; help and version for who asked.
int StopAtArguments(const CLI::App& app, const CLI::ParseError& error) {
    if (error.get_exit_code() == EXIT_SUCCESS)
        return app.exit(error);
    std::fprintf(stderr, "umdview: %s\nTry umdview --help.\n", error.what());
    return kExitBadUsage;
}

int Run(const CLI::App& app, Arguments& arguments) {
    if (app.got_subcommand("info"))
        return RunInfo(arguments.book, arguments.json);
    if (app.got_subcommand("text"))
        return RunText(arguments.book, arguments.render.chapter, arguments.raw);
    if (app.got_subcommand("readingdata"))
        return RunReadingData(arguments.book, arguments.json);
    arguments.render.book = arguments.book;
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
    CLI::App* text =
        AddBookCommand(app, "text", "Write a book's text to standard output as UTF-8", arguments);
    text->add_flag("--raw", arguments.raw, "Keep paragraph separators instead of newlines");
    AddChapterOption(*text, arguments, "Write this chapter alone, as umdview info counts them");
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
