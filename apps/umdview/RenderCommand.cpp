#include "RenderCommand.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <vector>

#include <unistd.h>

#include "Output.h"
#include "Progress.h"
#include "Reader.h"
#include "common/Book.h"
#include "common/Chapters.h"
#include "common/Failure.h"
#include "common/SavedPlace.h"
#include "common/TextSurvey.h"

namespace umdview {

using namespace umdhost;

namespace {

void MakeFolder(const std::string& folder) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error)
        throw Failure(folder, error.message());
}

// "screen-0001.png"
std::string FileName(long screen, ImageFormat format) {
    char number[24];
    std::snprintf(number, sizeof(number), "%04ld", screen);
    return std::string("screen-") + number + "." + NameOf(format);
}

std::string FilePath(long screen, const RenderOptions& options) {
    return (std::filesystem::path(options.folder) / FileName(screen, options.format)).string();
}

// Why part of a book's text cannot be shown.
void ReportDamage(const std::string& book) {
    for (const std::string& warning : TextSurvey(Book(book)).Warnings())
        Report(book, "damaged: " + warning);
}

// Text that could not be shown.
struct Gap {
    long afterScreen; // number of the screen before it
    int bytes;
};

struct Drawn {
    long count = 0;
    long lastShown = 1; // number of the last screen that was shown
    bool toTheEnd = false;
    std::vector<Gap> gaps;
};

// Passes over text that cannot be shown; see Reader::PassOver.
bool PassOver(Reader& reader, int block, long afterScreen, Drawn& drawn) {
    int bytes = 0;
    const bool shown = reader.PassOver(block, &bytes);
    if (bytes > 0)
        drawn.gaps.push_back({afterScreen, bytes});
    return shown;
}

// The saved place, unless the book does not have it, as when another book lay there before.
std::optional<Place> PlaceToResume(const RenderOptions& options, int blockCount) {
    const std::optional<Place> place = ReadPlace(options.book);
    if (!place || place->block < static_cast<unsigned int>(blockCount))
        return place;
    Report(options.book, "the saved place is outside of the book: beginning at the start");
    return std::nullopt;
}

// Shows the screen that drawing begins with, or else the first one after it that can be shown.
void OpenAt(Reader& reader, const RenderOptions& options, Drawn& drawn) {
    std::optional<Place> place;
    if (options.resume)
        place = PlaceToResume(options, reader.BlockCount());
    if (options.chapter > 0)
        place = FindChapter(Book(options.book), options.chapter).place;
    const bool shown = !place           ? reader.GoTo(options.position)
                       : options.resume ? reader.ShowSavedPlace()
                                        : reader.GoTo(*place);
    const auto last = static_cast<float>(reader.BlockCount() - 1);
    const int block =
        place ? static_cast<int>(place->block) : static_cast<int>(options.position * last);
    if (shown || PassOver(reader, block, 0, drawn))
        return;
    ReportDamage(options.book);
    throw Failure(options.book, "no text from this position on can be shown");
}

// Pages through the screens and draws those asked for. Only one screen is in memory at a time.
void DrawScreens(Reader& reader, const RenderOptions& options, Drawn& drawn) {
    Progress progress(reader.BlockCount());
    for (;; ++drawn.lastShown) {
        if (drawn.lastShown >= options.screens.first) {
            WriteImage(FilePath(drawn.lastShown, options), reader.Draw(), options.format);
            ++drawn.count;
        }
        progress.Show(drawn.lastShown, reader.Block());
        if (drawn.lastShown == options.screens.last)
            return;
        reader.PrepareTurn();
        if (reader.TurnPage() || PassOver(reader, -1, drawn.lastShown, drawn))
            continue;
        drawn.toTheEnd = true;
        return;
    }
}

std::string Screens(long count) {
    return std::to_string(count) + (count == 1 ? " screen" : " screens");
}

std::string FileNames(const Drawn& drawn, ImageFormat format) {
    const std::string last = FileName(drawn.lastShown, format);
    if (drawn.count == 1)
        return " (" + last + ")";
    return " (" + FileName(drawn.lastShown - drawn.count + 1, format) + " to " + last + ")";
}

// "10 screens drawn to out/ (screen-0001.png to screen-0010.png)"
std::string Summary(const Drawn& drawn, const RenderOptions& options) {
    std::string line = Screens(drawn.count) + " drawn to " + options.folder;
    if (line.back() != '/')
        line += '/';
    if (drawn.count > 0)
        line += FileNames(drawn, options.format);
    const bool cutOff = !drawn.gaps.empty() && drawn.gaps.back().afterScreen == drawn.lastShown;
    if (drawn.toTheEnd)
        line += (cutOff ? ", nothing can be shown after screen " : ", the book ends at screen ") +
                std::to_string(drawn.lastShown);
    return line + "\n";
}

// Why text was left out, then what and where.
void ReportGaps(const Drawn& drawn, const std::string& book) {
    if (!drawn.gaps.empty())
        ReportDamage(book);
    for (const Gap& gap : drawn.gaps)
        Report(book, std::to_string(gap.bytes) + " bytes of text after screen " +
                         std::to_string(gap.afterScreen) + " could not be shown");
}

// A reader saves the place when it goes; a run that draws nothing or fails must not move it. So
// this outlives the reader.
struct PlaceGuard {
    const std::string& book;
    Place before = ReadPlace(book).value_or(Place());
    bool restores = false;
    ~PlaceGuard() {
        if (restores)
            WritePlace(book, before);
    }
};

Drawn Render(const RenderOptions& options) {
    PlaceGuard guard{options.book};
    Reader reader(options.book, options.look, options.resume);
    guard.restores = options.resume;
    Drawn drawn;
    MakeFolder(options.folder);
    OpenAt(reader, options, drawn);
    DrawScreens(reader, options, drawn);
    guard.restores = options.resume && drawn.count == 0;
    return drawn;
}

// The library reads a book whose place it cannot save, and says nothing about it.
bool IsPlaceKept(const RenderOptions& options) {
    const std::string path = ReadingDataPath(options.book);
    const int error = access(path.c_str(), W_OK) == 0 ? 0 : errno;
    if (error == 0 && ReadPlace(options.book))
        return true;
    Report(path, "the place cannot be kept: " +
                     (error != 0 ? SystemReason(error) : "it holds no place that can be read"));
    return false;
}

} // namespace

int RunRender(const RenderOptions& options) {
    const Drawn drawn = Render(options);
    WriteOut(Summary(drawn, options));
    ReportGaps(drawn, options.book);
    const bool kept = !options.resume || IsPlaceKept(options);
    return drawn.gaps.empty() && kept ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace umdview
