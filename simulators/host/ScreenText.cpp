#include "simulators/host/ScreenText.h"

#include <algorithm>
#include <array>

namespace kandora::simulators {

namespace {

/// A character as the screen shows it, with the marks that are set above or below it.
struct Glyph {
    std::wstring_view text;
    std::size_t width = 1;
};

using Glyphs = std::vector<Glyph>;
using Range = std::pair<wchar_t, wchar_t>;

template <std::size_t count>
bool IsIn(const std::array<Range, count>& ranges, wchar_t unit) {
    return std::ranges::any_of(
        ranges, [&](const Range& range) { return unit >= range.first && unit <= range.second; });
}

bool IsMark(wchar_t unit) {
    static constexpr std::array<Range, 6> marks{{{0x0300, 0x036F},
                                                 {0x1AB0, 0x1AFF},
                                                 {0x1DC0, 0x1DFF},
                                                 {0x20D0, 0x20FF},
                                                 {0xFE00, 0xFE0F},
                                                 {0xFE20, 0xFE2F}}};
    return IsIn(marks, unit);
}

/// East Asian characters take two columns, and so do most of those that consist of two units.
bool IsWide(wchar_t unit) {
    static constexpr std::array<Range, 6> wide{{{0x1100, 0x115F},
                                                {0x2E80, 0xA4CF},
                                                {0xAC00, 0xD7A3},
                                                {0xF900, 0xFAFF},
                                                {0xFF00, 0xFF60},
                                                {0xFFE0, 0xFFE6}}};
    return IsIn(wide, unit);
}

bool IsPair(std::wstring_view text, std::size_t at) {
    return at + 1 < text.size() && (text[at] & 0xFC00) == 0xD800 && (text[at + 1] & 0xFC00) == 0xDC00;
}

Glyphs GlyphsOf(std::wstring_view text) {
    Glyphs glyphs;
    for (std::size_t at = 0; at < text.size();) {
        const bool isPair = IsPair(text, at);
        std::size_t end = at + (isPair ? 2 : 1);
        while (end < text.size() && IsMark(text[end])) {
            ++end;
        }
        glyphs.push_back({text.substr(at, end - at), isPair || IsWide(text[at]) ? 2U : 1U});
        at = end;
    }
    return glyphs;
}

std::size_t WidthOf(const Glyphs& glyphs, std::size_t from, std::size_t to) {
    std::size_t width = 0;
    for (std::size_t at = from; at < to; ++at) {
        width += glyphs[at].width;
    }
    return width;
}

std::wstring TextOf(const Glyphs& glyphs, std::size_t from, std::size_t to) {
    std::wstring text;
    for (std::size_t at = from; at < to; ++at) {
        text += glyphs[at].text;
    }
    return text;
}

/// The end of the longest stretch of glyphs from `from` on that fits into `most` columns.
std::size_t FittingEnd(const Glyphs& glyphs, std::size_t from, std::size_t most) {
    std::size_t end = from;
    for (std::size_t width = 0; end < glyphs.size() && width + glyphs[end].width <= most; ++end) {
        width += glyphs[end].width;
    }
    return end;
}

/// The glyphs from `start` on in `most` columns at most.
std::wstring Cut(const Glyphs& glyphs, std::size_t start, std::size_t most) {
    const std::wstring front = start > 0 ? L"…" : L"";
    const std::size_t room = most - front.size();
    if (WidthOf(glyphs, start, glyphs.size()) <= room) {
        return front + TextOf(glyphs, start, glyphs.size());
    }
    return front + TextOf(glyphs, start, FittingEnd(glyphs, start, room - 1)) + L"…";
}

bool IsControl(wchar_t unit) {
    return unit < L' ' || (unit >= 0x7F && unit <= 0x9F);
}

std::wstring WithoutControls(std::wstring_view text) {
    std::wstring result(text);
    std::ranges::replace_if(result, IsControl, L' ');
    return result;
}

/// "␊" for a line break, "␉" for a tabulator and so on.
std::wstring WithSymbols(std::wstring_view text) {
    std::wstring result(text);
    std::ranges::transform(result, result.begin(), [](wchar_t unit) {
        return !IsControl(unit) ? unit : unit < L' ' ? static_cast<wchar_t>(0x2400 + unit) : L'\xFFFD';
    });
    return result;
}

/// A value that shares its first `ahead` and its last `behind` glyphs with the other value.
struct Compared {
    Glyphs glyphs;
    std::size_t ahead = 0;
    std::size_t behind = 0;

    std::size_t End() const { return glyphs.size() - behind; }
    std::size_t WidthAhead() const { return WidthOf(glyphs, 0, ahead); }
    std::size_t WidthOfDifference() const { return WidthOf(glyphs, ahead, End()); }
    std::size_t WidthFromDifference() const { return WidthOf(glyphs, ahead, glyphs.size()); }

    void ShowBlanks() {
        const auto from = glyphs.begin() + static_cast<std::ptrdiff_t>(ahead);
        const auto to = glyphs.begin() + static_cast<std::ptrdiff_t>(End());
        if (std::all_of(from, to, [](const Glyph& glyph) { return glyph.text == L" "; })) {
            std::for_each(from, to, [](Glyph& glyph) { glyph.text = L"␣"; });
        }
    }
};

void Compare(Compared& one, Compared& other) {
    const auto isSame = [](const Glyph& left, const Glyph& right) { return left.text == right.text; };
    const std::size_t shorter = std::min(one.glyphs.size(), other.glyphs.size());
    while (one.ahead < shorter && isSame(one.glyphs[one.ahead], other.glyphs[one.ahead])) {
        ++one.ahead;
    }
    while (one.behind < shorter - one.ahead &&
           isSame(one.glyphs[one.End() - 1], other.glyphs[other.glyphs.size() - one.behind - 1])) {
        ++one.behind;
    }
    other.ahead = one.ahead;
    other.behind = one.behind;
}

/// The glyph at which both values begin to be shown. The whole difference is shown, with as much before it as
/// there is room for; of a long difference the beginning, with enough before it to recognise the place.
std::size_t StartOf(const Compared& one, const Compared& other, std::size_t most) {
    const std::size_t ahead = one.WidthAhead();
    const std::size_t toEnd = std::max(one.WidthFromDifference(), other.WidthFromDifference());
    const std::size_t difference = std::max(one.WidthOfDifference(), other.WidthOfDifference());
    if (ahead + toEnd <= most || ahead + difference + 1 <= most) {
        return 0;
    }
    const std::size_t least = most / 4;
    const std::size_t taken = toEnd + 1 + least <= most ? toEnd + 1 : difference + 2;
    const std::size_t context = std::max(least, most - std::min(most, taken));
    std::size_t start = one.ahead;
    for (std::size_t width = 0; start > 0 && width + one.glyphs[start - 1].width <= context; --start) {
        width += one.glyphs[start - 1].width;
    }
    return start;
}

}  // namespace

std::size_t DisplayWidth(std::wstring_view text) {
    const Glyphs glyphs = GlyphsOf(text);
    return WidthOf(glyphs, 0, glyphs.size());
}

std::wstring Counted(std::size_t count, std::wstring_view one, std::wstring_view many) {
    return std::to_wstring(count) + L" " + std::wstring(count == 1 ? one : many);
}

std::wstring Shortened(std::wstring_view text, std::size_t most) {
    const std::wstring line = WithoutControls(text);
    return Cut(GlyphsOf(line), 0, most);
}

std::pair<std::wstring, std::wstring> CutAroundDifference(std::wstring_view before, std::wstring_view after,
                                                          std::size_t most) {
    const std::wstring beforeText = WithSymbols(before);
    const std::wstring afterText = WithSymbols(after);
    Compared one{GlyphsOf(beforeText)};
    Compared other{GlyphsOf(afterText)};
    Compare(one, other);
    const std::size_t start = StartOf(one, other, most);
    one.ShowBlanks();
    other.ShowBlanks();
    return {Cut(one.glyphs, start, most), Cut(other.glyphs, start, most)};
}

void AppendWrapped(std::vector<std::wstring>& lines, std::wstring_view text, const std::wstring& first,
                   const std::wstring& rest, std::size_t width) {
    const std::wstring clean = WithoutControls(text);
    const Glyphs glyphs = GlyphsOf(clean);
    const auto isBlank = [&](std::size_t at) { return glyphs[at].text == L" "; };
    const std::wstring* prefix = &first;
    std::size_t at = 0;
    do {
        const std::size_t room = width - std::min(width, DisplayWidth(*prefix));
        // At least one glyph a line, whatever the room, or this would never end.
        std::size_t end = std::max(FittingEnd(glyphs, at, room), std::min(at + 1, glyphs.size()));
        if (end < glyphs.size()) {
            std::size_t wordStart = end;
            while (wordStart > at && !isBlank(wordStart) && !isBlank(wordStart - 1)) {
                --wordStart;
            }
            end = wordStart > at ? wordStart : end;
        }
        std::wstring line = *prefix + TextOf(glyphs, at, end);
        line.erase(line.find_last_not_of(L' ') + 1);
        lines.push_back(std::move(line));
        at = end;
        while (at < glyphs.size() && isBlank(at)) {
            ++at;
        }
        prefix = &rest;
    } while (at < glyphs.size());
}

}  // namespace kandora::simulators
