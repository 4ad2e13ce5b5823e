#include <orn/host/EOrnError.h>
#include <orn/io/TXMLParser.h>

#include "host/detail/FileBytes.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace orn {

namespace {

constexpr std::size_t kProgressStep = 2000;

using CharSet = std::array<bool, 256>;

constexpr CharSet makeSet(std::string_view chars) {
    CharSet set{};
    for (char c : chars)
        set[static_cast<unsigned char>(c)] = true;
    return set;
}

constexpr CharSet makeEndTagStops() {
    CharSet set = makeSet(":-_");
    for (int c = '0'; c <= '9'; ++c)
        set[c] = true;
    for (int c = 'A'; c <= 'Z'; ++c)
        set[c] = set[c + ('a' - 'A')] = true;
    for (bool& b : set)
        b = !b;
    return set;
}

// Characters that end a run of plain text in each state.
constexpr CharSet kOpenTagStops = makeSet("> /?!");
constexpr CharSet kParamStops = makeSet("\" />");
constexpr CharSet kEndTagStops = makeEndTagStops(); // all but the characters kept of an end tag

inline bool in(const CharSet& set, char c) {
    return set[static_cast<unsigned char>(c)];
}

inline const char* skipTo(const CharSet& stops, const char* p, const char* end) {
    // Four at a time: runs of names and values are mostly longer than that.
    while (end - p >= 4) {
        if (in(stops, p[0])) return p;
        if (in(stops, p[1])) return p + 1;
        if (in(stops, p[2])) return p + 2;
        if (in(stops, p[3])) return p + 3;
        p += 4;
    }
    while (p < end && !in(stops, *p))
        ++p;
    return p;
}

#ifdef __SSE2__
// The first of the four stop characters of an attribute list, sixteen bytes at a time.
inline const char* skipToParamStop(const char* p, const char* end) {
    const __m128i quote = _mm_set1_epi8('"'), space = _mm_set1_epi8(' ');
    const __m128i slash = _mm_set1_epi8('/'), gt = _mm_set1_epi8('>');
    while (end - p >= 16) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        const __m128i hit = _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(v, quote), _mm_cmpeq_epi8(v, space)),
                                         _mm_or_si128(_mm_cmpeq_epi8(v, slash), _mm_cmpeq_epi8(v, gt)));
        if (const int mask = _mm_movemask_epi8(hit)) return p + __builtin_ctz(static_cast<unsigned>(mask));
        p += 16;
    }
    return skipTo(kParamStops, p, end);
}
#else
inline const char* skipToParamStop(const char* p, const char* end) {
    return skipTo(kParamStops, p, end);
}
#endif

// The next '<': short runs (the line breaks between elements) are scanned inline.
inline const char* findLess(const char* p, const char* end) {
    const char* stop = end - p > 16 ? p + 16 : end;
    for (; p < stop; ++p)
        if (*p == '<') return p;
    if (p == end) return end;
    const void* lt = std::memchr(p, '<', static_cast<std::size_t>(end - p));
    return lt ? static_cast<const char*>(lt) : end;
}

// Clear-then-append takes the short path of std::string; assign(p, n) checks for aliasing first.
inline void setText(std::string& s, const char* from, const char* to) {
    s.clear();
    s.append(from, static_cast<std::size_t>(to - from));
}

inline char lower(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + ('a' - 'A')) : c;
}

bool sameText(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (lower(a[i]) != lower(b[i])) return false;
    return true;
}

} // namespace

// --- TXMLTag ------------------------------------------------------------------------------------

int TXMLTag::IndexOfParam(std::string_view name) const {
    for (std::size_t i = 0; i < fSpans.size(); ++i) {
        const TParamSpan& span = fSpans[i];
        if (span.Equal - span.Begin == name.size() && sameText(Slice(span.Begin, span.Equal), name))
            return static_cast<int>(i);
    }
    return -1;
}

std::string_view TXMLTag::ParamValue(std::string_view name, std::string_view def) const {
    const int index = IndexOfParam(name);
    return index < 0 ? def : ParamValueAt(index);
}

void TXMLTag::Recycle() {
    Name.clear();
    Value.clear();
    Params.clear();
    Depth = 0;
    Close = 0;
    Parent = nullptr;
    Data = nullptr;
    fSpans.clear();
}

// --- TXMLParser: set-up and input ---------------------------------------------------------------

TXMLParser::TXMLParser(TComponent* owner) : TComponent(owner), fRoot(std::make_unique<TXMLTag>()) {
    fOpen.push_back(fRoot.get());
}

TXMLParser::~TXMLParser() = default;

void TXMLParser::loadFile() {
    fStream = detail::ReadFileText(fFileName);
}

void TXMLParser::releaseOpen() {
    while (fOpen.size() > 1) {
        fFree.push_back(fOpen.back());
        fOpen.pop_back();
    }
    fRoot->Recycle();
}

void TXMLParser::execute(TObject* data) {
    if (fRunning) throw EOrnError("TXMLParser.execute is already running.");
    if (fStream.empty()) loadFile();

    // The input moves out of the stream so that a handler touching Stream() cannot pull it away
    // from under the parse; its storage comes back, emptied, for the next fill.
    std::string input;
    input.swap(fStream);
    fRunning = true;
    struct Finish {
        TXMLParser& parser;
        std::string& input;
        ~Finish() {
            input.clear();
            parser.fStream.swap(input);
            parser.fRunning = false;
        }
    } finish{*this, input};

    releaseOpen();
    fRoot->Data = data;
    clearParamList();
    resetText();
    fState = stDefault;
    const char* begin = input.c_str();
    const char* zero = static_cast<const char*>(std::memchr(begin, 0, input.size()));
    parse(begin, zero ? zero : begin + input.size(), input.size());
}

// --- TXMLParser: the state machine ---------------------------------------------------------------

void TXMLParser::parse(const char* begin, const char* end, std::size_t size) {
    const auto length = static_cast<std::size_t>(end - begin);
    const char* p = begin;
    std::size_t nextTick = kProgressStep;
    while (p < end) {
        // Runs of text never cross a progress point, so progress fires after exactly its character.
        const char* limit = begin + std::min(length, nextTick);
        while (p < limit) {
            switch (fState) {
            case stDefault:
                p = doDefault(p, limit);
                break;
            case stOpenTag:
                p = doOpenTag(p, limit);
                break;
            case stCloseTag:
                p = doCloseTag(p, limit);
                break;
            case stValue:
                p = doValue(p, limit);
                break;
            case stParam:
                p = doParam(p, limit);
                break;
            case stSpecial:
                p = doSpecial(p);
                break;
            case stComment:
                p = doComment(p);
                break;
            }
        }
        if (static_cast<std::size_t>(p - begin) == nextTick) {
            atProgress(static_cast<double>(nextTick) / static_cast<double>(size));
            nextTick += kProgressStep;
        }
    }
    atProgress(1.0);
}

const char* TXMLParser::doDefault(const char* p, const char* end) {
    // Text outside elements is dropped.
    const void* lt = std::memchr(p, '<', static_cast<std::size_t>(end - p));
    if (!lt) return end;
    fState = stOpenTag;
    return static_cast<const char*>(lt) + 1;
}

const char* TXMLParser::doOpenTag(const char* p, const char* end) {
    const char c = *p;
    const bool first = fText.empty();
    if (first && c != '/' && c != '!') openElement();
    switch (c) {
    case '>':
    case ' ': // only the space: tabs and line breaks belong to the name
        Current().Name.assign(fText);
        return endName(p);
    case '/': // the name is kept but never stored: "<name/>" fires no start event
        fState = stCloseTag;
        return p + 1;
    case '?':
    case '!':
        if (first) {
            fText += '<';
            fText += c;
            fState = stSpecial;
        }
        return p + 1;
    default: {
        const char* q = skipTo(kOpenTagStops, p + 1, end);
        if (first && q < end && (*q == '>' || *q == ' ')) {
            // The whole name lies in the input: it goes straight into the record.
            setText(Current().Name, p, q);
            return endName(q);
        }
        append(p, q);
        return q;
    }
    }
}

const char* TXMLParser::endName(const char* p) {
    atTagName();
    if (*p == '>') {
        atTag();
        fState = stValue;
    } else {
        fState = stParam;
    }
    resetText();
    return p + 1;
}

const char* TXMLParser::doParam(const char* p, const char* end) {
    while (p < end) {
        const char* q = skipToParamStop(p, end);
        if (q != p) appendParam(p, q);
        if (q == end) return end;
        p = q + 1;
        switch (*q) {
        case '"':
            if (!fInQuote) {
                fInQuote = true;
            } else {
                // The buffer stays: a value closed right before '>' is added once more there, as
                // the writer of the scene file expects.
                fInQuote = false;
                addParamLine();
                atParam();
            }
            break;
        case ' ':
            if (!fInQuote && !paramBufferEmpty())
                clearParamBuffer();
            else
                appendParam(q, q + 1);
            break;
        default: // '/' or '>', also inside quotes: values cannot hold either
            if (!paramBufferEmpty()) {
                addParamLine();
                TXMLTag& tag = Current();
                // The list is cleared right after: swapping hands it over without a copy and takes
                // the record's old storage in return.
                tag.Params.swap(fParamText);
                tag.fSpans.swap(fParamSpans);
                fLineSource = &tag.Params;
                atParam();
                atTag();
            }
            fState = *q == '/' ? stCloseTag : stValue;
            clearParamList();
            resetText();
            return p;
        }
    }
    return p;
}

const char* TXMLParser::doValue(const char* p, const char* end) {
    const char* q = findLess(p, end);
    if (q == end) {
        append(p, q);
        return end;
    }
    if (fText.empty()) {
        setText(Current().Value, p, q);
    } else {
        append(p, q);
        Current().Value.assign(fText);
    }
    atValue();
    fState = stOpenTag;
    resetText();
    return q + 1;
}

const char* TXMLParser::doCloseTag(const char* p, const char* end) {
    while (p < end) {
        const char* q = skipTo(kEndTagStops, p, end);
        if (q != p) append(p, q);
        if (q == end) return end;
        if (*q == '>') {
            closeElement();
            return q + 1;
        }
        p = q + 1; // anything else in an end tag is dropped
    }
    return p;
}

const char* TXMLParser::doSpecial(const char* p) {
    const char c = *p;
    fText += c;
    if (fText.size() == 4 && fText == "<!--") {
        fDashes = 0;
        fState = stComment;
    } else if (c == '>') {
        atSpecial();
        // A declaration ends like an element: inside an open element it pops that element.
        closeElement();
        fState = stValue;
        resetText();
    }
    return p + 1;
}

const char* TXMLParser::doComment(const char* p) {
    const char c = *p;
    if (c == '-') {
        fText += c;
        ++fDashes;
    } else if (c == '>') {
        if (fDashes >= 2) {
            fText += c;
            atComment();
            fState = stValue;
            resetText();
        }
    } else {
        fText += c;
        fDashes = 0;
    }
    return p + 1;
}

void TXMLParser::openElement() {
    TXMLTag* tag;
    if (fFree.empty()) {
        fRecords.push_back(std::make_unique<TXMLTag>());
        tag = fRecords.back().get();
    } else {
        tag = fFree.back();
        fFree.pop_back();
        tag->Recycle();
    }
    tag->Parent = fOpen.back();
    tag->Depth = static_cast<std::int32_t>(fOpen.size());
    fOpen.push_back(tag);
}

void TXMLParser::closeElement() {
    atEndtag();
    // The end tag's name is never compared with the element's: the writer is trusted.
    if (fOpen.size() > 1 && Current().Close != 2) {
        fFree.push_back(fOpen.back());
        fOpen.pop_back();
    }
    resetText();
    Current().Close = 0;
    fState = fOpen.size() > 1 ? stValue : stDefault;
}

void TXMLParser::appendParam(const char* from, const char* to) {
    if (fLineAdded) reopenParamLine();
    fParamText.append(from, static_cast<std::size_t>(to - from));
}

void TXMLParser::reopenParamLine() {
    // The buffer was added as a line and grows or is added again: it continues as a copy of it.
    const std::size_t begin = fLineStart;
    fLineStart = fParamText.size();
    fParamText.append(fParamText, begin, fLineEnd - begin);
    fLineAdded = false;
}

void TXMLParser::clearParamBuffer() {
    if (fLineAdded)
        fLineAdded = false;
    else
        fParamText.resize(fLineStart);
    fLineStart = fParamText.size();
}

void TXMLParser::addParamLine() {
    if (fLineAdded) reopenParamLine();
    const std::size_t end = fParamText.size();
    std::size_t equal = fLineStart;
    while (equal < end && fParamText[equal] != '=')
        ++equal;
    fParamSpans.push_back({fLineStart, equal, end});
    static_assert(TXMLTag::ParamLineBreak.size() == 1);
    fParamText.push_back(TXMLTag::ParamLineBreak[0]);
    fLineEnd = end;
    fLineAdded = true;
}

std::string_view TXMLParser::Text() const {
    if (fState != stParam) return fText;
    // Clamped: a handler may have edited the Params that the list was handed to.
    const std::string& text = *fLineSource;
    const std::size_t end = std::min(fLineAdded ? fLineEnd : text.size(), text.size());
    const std::size_t begin = std::min(fLineStart, end);
    return std::string_view(text).substr(begin, end - begin);
}

// --- TXMLParser: events --------------------------------------------------------------------------

void TXMLParser::atTag() {
    if (OnTag) OnTag(this, Current());
    if (Current().Close == 1) {
        closeElement();
        Current().Close = 0;
    }
}

void TXMLParser::atEndtag() {
    if (OnEndTag) OnEndTag(this, Current());
}

void TXMLParser::atParam() {
    if (OnParam) OnParam(this, Current());
}

void TXMLParser::atValue() {
    if (OnValue) OnValue(this, Current());
}

void TXMLParser::atTagName() {
    if (OnTagName) OnTagName(this, Current());
}

void TXMLParser::atComment() {
    if (OnComment) OnComment(fText);
}

void TXMLParser::atSpecial() {
    if (OnSpecial) OnSpecial(fText);
}

void TXMLParser::atProgress(double fraction) {
    if (OnProgress) OnProgress(fraction);
}

} // namespace orn
