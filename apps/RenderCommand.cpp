#include "RenderCommand.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "Book.h"
#include "Failure.h"
#include "Output.h"
#include "Progress.h"
#include "Reader.h"
#include "TextSurvey.h"

namespace umdview {

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

void ReportDamage(const std::string& book, const TextSurvey& survey) {
    for (const std::string& warning : survey.Warnings())
        Report(book, "damaged: " + warning);
}

void OpenAt(Reader& reader, const RenderOptions& options) {
    reader.SetScreenSize(options.width, options.height);
    if (options.fontSize)
        reader.SetFontSize(*options.fontSize);
    if (reader.GoTo(options.position))
        return;
    ReportDamage(options.book, TextSurvey(Book(options.book)));
    throw Failure(options.book, "the text at this position cannot be shown");
}

// How many screens there are from the position to the end of the book.
long CountScreens(Reader& reader, const RenderOptions& options) {
    Progress progress("Counting screens", 0);
    long count = 1;
    for (; reader.TurnPage(); ++count)
        progress.Show(count);
    reader.GoTo(options.position);
    return count;
}

// The screens the progress bar counts up to; without a bar nobody needs to know.
long LastScreen(Reader& reader, const RenderOptions& options) {
    if (options.screens.last == ScreenRange::unlimited && Progress::IsVisible())
        return CountScreens(reader, options);
    return options.screens.last;
}

// What the pages came to: to the last screen asked for, or to an end before it.
enum class End { AsAsked, OfBook, OfReadableText };

struct Drawn {
    long count = 0;
    long lastShown = 0; // number of the last screen that was shown
    End end = End::AsAsked;
};

// Pages through the screens and draws those asked for. Only one screen is in memory at a time.
Drawn DrawScreens(Reader& reader, const RenderOptions& options, Progress& progress) {
    Drawn drawn;
    Image image(options.width, options.height);
    for (drawn.lastShown = 1;; ++drawn.lastShown) {
        if (drawn.lastShown >= options.screens.first) {
            reader.Draw(image);
            WriteImage(FilePath(drawn.lastShown, options), image, options.format);
            ++drawn.count;
        }
        progress.Show(drawn.lastShown);
        if (drawn.lastShown == options.screens.last)
            return drawn;
        if (!reader.TurnPage()) {
            drawn.end = End::OfBook;
            return drawn;
        }
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
    if (drawn.end == End::OfBook)
        line += ", the book ends at screen " + std::to_string(drawn.lastShown);
    if (drawn.end == End::OfReadableText)
        line += ", no screen can be shown behind screen " + std::to_string(drawn.lastShown);
    return line + "\n";
}

// A page that does not turn is the end of the book, unless the text behind it cannot be loaded.
End FindReason(const RenderOptions& options) {
    const Book book(options.book);
    const TextSurvey survey(book);
    const int lastBlock = (std::max(book.DeclaredBytes(), 1) - 1) / blockBytes;
    const auto firstBlock =
        static_cast<std::int64_t>(options.position * static_cast<double>(lastBlock));
    if (!survey.StopsReaderBehind(firstBlock))
        return End::OfBook;
    ReportDamage(options.book, survey);
    return End::OfReadableText;
}

} // namespace

int RunRender(const RenderOptions& options) {
    Reader reader(options.book);
    MakeFolder(options.folder);
    OpenAt(reader, options);
    Drawn drawn;
    {
        Progress progress("Drawing screens", LastScreen(reader, options));
        drawn = DrawScreens(reader, options, progress);
    }
    if (drawn.end != End::AsAsked)
        drawn.end = FindReason(options);
    WriteOut(Summary(drawn, options));
    FlushOut();
    return drawn.end == End::OfReadableText ? EXIT_FAILURE : EXIT_SUCCESS;
}

} // namespace umdview
