#include "base/Libiconv.h"

#ifndef UMDFORMAT_HAVE_LIBICONV

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iconv.h>
#include <memory>
#include <new>

#include "base/LittleEndian.h"

namespace QvFormat {
namespace {

constexpr std::size_t kFailed = static_cast<std::size_t>(-1);

// Longer than any encoding's name, with the suffix for transliteration.
constexpr std::size_t kNameSize = 64;

// No encoding takes more bytes for one character.
constexpr std::size_t kLongestCharacter = 16;

// Room for what one character is transliterated to; the longest known form has 18 characters.
constexpr std::size_t kLongestForm = 128;

struct IconvCloser {
    void operator()(void* descriptor) const { iconv_close(descriptor); }
};

using IconvPtr = std::unique_ptr<void, IconvCloser>;

IconvPtr Open(const char* to, const char* from) {
    const iconv_t descriptor = iconv_open(to, from);
    return IconvPtr(reinterpret_cast<std::intptr_t>(descriptor) == -1 ? nullptr : descriptor);
}

bool CopyName(const char* name, char (&copy)[kNameSize]) {
    const std::size_t length = std::strlen(name);
    if (length >= kNameSize)
        return false;
    std::memcpy(copy, name, length + 1);
    return true;
}

// The arguments of one conversion; they point at the caller's.
struct Run {
    char** in;
    std::size_t* inLeft;
    char** out;
    std::size_t* outLeft;

    std::size_t Convert(const IconvPtr& descriptor) const {
        return iconv(descriptor.get(), in, inLeft, out, outLeft);
    }
    void SkipInput(std::size_t count) const {
        *in += count;
        *inLeft -= count;
    }
    bool Put(const char* bytes, std::size_t count) const {
        if (count > *outLeft) {
            errno = E2BIG;
            return false;
        }
        std::memcpy(*out, bytes, count);
        *out += count;
        *outLeft -= count;
        return true;
    }
};

struct Character {
    std::size_t size = 0; // bytes in the source; 0: an invalid sequence
    std::uint32_t code = 0;
};

// The C library's own "//IGNORE" skips but still reports an error, and it does not say whether the
// input was invalid or the target lacks the character. So the plain conversion runs until it stops,
// and what it stopped at is looked at alone.
class Converter {
public:
    bool Open(const char* to, const char* from);
    bool Set(int request, bool on);
    bool Convert(const Run& run);

private:
    bool ConvertPossible(const Run& run);
    std::size_t PossibleSize(const Run& run) const;
    bool PassObstacle(const Run& run);
    bool Identify(const Run& run, Character* character);
    bool OpenTransliterating();
    std::size_t Transliterate(const Run& run, const Character& character, char* form);
    bool Discard(const Run& run, std::size_t count) const;
    std::size_t InvalidSize() const;

    char m_szTo[kNameSize] = {};
    char m_szFrom[kNameSize] = {};
    IconvPtr m_pPlain;
    IconvPtr m_pProbe;           // source to UTF-32, opened when first needed
    IconvPtr m_pTransliterating; // likewise
    bool m_bDiscard = false;
    bool m_bTransliterate = false;
};

bool Converter::Open(const char* to, const char* from) {
    if (!CopyName(to, m_szTo) || !CopyName(from, m_szFrom)) {
        errno = EINVAL;
        return false;
    }
    m_pPlain = QvFormat::Open(to, from);
    return m_pPlain != nullptr;
}

bool Converter::Set(int request, bool on) {
    if (request != ICONV_SET_TRANSLITERATE && request != ICONV_SET_DISCARD_ILSEQ) {
        errno = EINVAL;
        return false;
    }
    (request == ICONV_SET_TRANSLITERATE ? m_bTransliterate : m_bDiscard) = on;
    return true;
}

// Converts piece by piece what lies between sequences that no UTF-8 has. A character that such a
// sequence cuts is invalid, not cut off.
bool Converter::Convert(const Run& run) {
    for (;;) {
        std::size_t possible = PossibleSize(run);
        const std::size_t rest = *run.inLeft - possible;
        const bool done = ConvertPossible({run.in, &possible, run.out, run.outLeft});
        *run.inLeft = possible + rest;
        if (rest == 0 || (!done && errno != EINVAL))
            return done;
        if (!Discard(run, 1))
            return false;
    }
}

// How many bytes stand before the next sequence that would be a character above U+10FFFF. The C
// library takes those, up to six bytes long, for characters like any other.
std::size_t Converter::PossibleSize(const Run& run) const {
    const std::size_t size = *run.inLeft;
    if (std::strcmp(m_szFrom, "UTF-8") != 0)
        return size;
    const auto* bytes = reinterpret_cast<const unsigned char*>(*run.in);
    for (std::size_t i = 0; i < size; ++i) {
        if (bytes[i] > 0xF4 || (bytes[i] == 0xF4 && i + 1 < size && bytes[i + 1] >= 0x90))
            return i;
    }
    return size;
}

bool Converter::ConvertPossible(const Run& run) {
    while (run.Convert(m_pPlain) == kFailed) {
        if (errno != EILSEQ || !PassObstacle(run))
            return false;
    }
    return true;
}

// Gets past what the plain conversion stopped at, or says why not in errno.
bool Converter::PassObstacle(const Run& run) {
    Character character;
    if (!Identify(run, &character))
        return false;
    if (character.size == 0)
        return Discard(run, InvalidSize());
    if (m_bTransliterate && !OpenTransliterating())
        return false;
    char form[kLongestForm];
    const std::size_t formSize = m_bTransliterate ? Transliterate(run, character, form) : 0;
    if (formSize == 0)
        return Discard(run, character.size);
    if (!run.Put(form, formSize))
        return false;
    run.SkipInput(character.size);
    return true;
}

// Converts one character to UTF-32, for which every character is good: room for no more than one
// stops the conversion after it. False when the probe cannot be opened.
bool Converter::Identify(const Run& run, Character* character) {
    if (!m_pProbe)
        m_pProbe = QvFormat::Open("UTF-32LE", m_szFrom);
    if (!m_pProbe)
        return false;
    char code[4];
    char* in = *run.in;
    char* out = code;
    std::size_t inLeft = std::min(*run.inLeft, kLongestCharacter);
    std::size_t outLeft = sizeof code;
    iconv(m_pProbe.get(), nullptr, nullptr, nullptr, nullptr);
    Run{&in, &inLeft, &out, &outLeft}.Convert(m_pProbe);
    if (outLeft == 0) {
        character->size = static_cast<std::size_t>(in - *run.in);
        character->code = LoadLE32(reinterpret_cast<const unsigned char*>(code));
    }
    return true;
}

// A C library without transliteration leaves the descriptor null, and every character without a
// form. False when memory ran out.
bool Converter::OpenTransliterating() {
    if (m_pTransliterating)
        return true;
    char name[kNameSize + sizeof "//TRANSLIT"];
    std::snprintf(name, sizeof name, "%s//TRANSLIT", m_szTo);
    m_pTransliterating = QvFormat::Open(name, m_szFrom);
    return m_pTransliterating || errno == EINVAL;
}

// Stores the character's form in the target encoding and returns its size, 0 when there is none.
// The C library writes "?" for a character it knows no form of; that is one only for the fullwidth
// and the small question mark.
std::size_t Converter::Transliterate(const Run& run, const Character& character, char* form) {
    if (!m_pTransliterating)
        return 0;
    char* in = *run.in;
    char* out = form;
    std::size_t inLeft = character.size;
    std::size_t outLeft = kLongestForm;
    iconv(m_pTransliterating.get(), nullptr, nullptr, nullptr, nullptr);
    if (Run{&in, &inLeft, &out, &outLeft}.Convert(m_pTransliterating) == kFailed)
        return 0;
    const std::size_t size = kLongestForm - outLeft;
    const bool isQuestionMark = character.code == 0xFF1F || character.code == 0xFE56;
    return size == 1 && form[0] == '?' && !isQuestionMark ? 0 : size;
}

bool Converter::Discard(const Run& run, std::size_t count) const {
    if (!m_bDiscard) {
        errno = EILSEQ;
        return false;
    }
    run.SkipInput(std::min(count, *run.inLeft));
    return true;
}

// An invalid sequence counts as one code unit, as GNU libiconv has it.
std::size_t Converter::InvalidSize() const {
    if (std::strncmp(m_szFrom, "UTF-16", 6) == 0)
        return 2;
    return std::strncmp(m_szFrom, "UTF-32", 6) == 0 ? 4 : 1;
}

} // namespace

libiconv_t libiconv_open(const char* to, const char* from) {
    std::unique_ptr<Converter> converter(new (std::nothrow) Converter);
    if (!converter)
        errno = ENOMEM;
    if (!converter || !converter->Open(to, from))
        return reinterpret_cast<libiconv_t>(-1); // NOLINT(performance-no-int-to-ptr)
    return converter.release();
}

int libiconvctl(libiconv_t descriptor, int request, void* argument) {
    const bool on = *static_cast<const int*>(argument) != 0;
    return static_cast<Converter*>(descriptor)->Set(request, on) ? 0 : -1;
}

std::size_t libiconv(libiconv_t descriptor, char** in, std::size_t* inLeft, char** out,
                     std::size_t* outLeft) {
    const bool done = static_cast<Converter*>(descriptor)->Convert(Run{in, inLeft, out, outLeft});
    return done ? 0 : kFailed;
}

int libiconv_close(libiconv_t descriptor) {
    delete static_cast<Converter*>(descriptor);
    return 0;
}

} // namespace QvFormat

#endif
