#include "io/detail/SceneMarkup.h"

#include "io/detail/ExchangeText.h"

#include <algorithm>
#include <cstring>

namespace orn::detail {

namespace {

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

/// Characters of a value that the reader takes only as character references.
bool isReplaced(char c) {
    return c == '"' || c == '<' || c == '>' || c == '/';
}

/// Anything that can stand in a name: ASCII name characters and every byte of a UTF-8 character.
bool isNameChar(char c) {
    const auto u = static_cast<unsigned char>(c);
    return std::isalnum(u) || c == '_' || c == ':' || c == '-' || c == '.' || u >= 0x80;
}

class Rewriter {
public:
    Rewriter(std::string_view text, std::vector<std::string>& problems, std::size_t maxValue)
        : fText(text.substr(0, UpToZero(text))), fProblems(problems), fMaxValue(maxValue) {}

    std::string Run() {
        fOut.reserve(fText.size());
        while (fPos < fText.size()) {
            const std::size_t lt = fText.find('<', fPos);
            CountLines(fPos, lt == std::string_view::npos ? fText.size() : lt);
            if (lt == std::string_view::npos) break;
            fPos = lt;
            if (Starts("<!--"))
                Skip("-->", "a comment");
            else if (Starts("<![CDATA["))
                Skip("]]>", "a CDATA section");
            else if (Starts("<?"))
                Skip("?>", "a processing instruction");
            else if (Starts("<!"))
                SkipDeclaration();
            else if (Starts("</"))
                EndTag();
            else
                StartTag();
        }
        if (!fOpen.empty())
            Problem(fLine, "the file ends early: the element '" + Shown(fOpen.back()) + "' and " +
                               std::to_string(fOpen.size() - 1) + " around it are not closed");
        return std::move(fOut);
    }

private:
    static std::size_t UpToZero(std::string_view text) {
        const void* zero = std::memchr(text.data(), '\0', text.size());
        return zero ? static_cast<std::size_t>(static_cast<const char*>(zero) - text.data()) : text.size();
    }

    bool Starts(std::string_view s) const { return fText.substr(fPos, s.size()) == s; }

    void CountLines(std::size_t from, std::size_t to) {
        fLine += static_cast<std::size_t>(std::count(fText.begin() + static_cast<std::ptrdiff_t>(from),
                                                     fText.begin() + static_cast<std::ptrdiff_t>(to), '\n'));
    }

    void Advance(std::size_t to) {
        CountLines(fPos, to);
        fPos = to;
    }

    void Skip(std::string_view end, const char* what) {
        const std::size_t at = fText.find(end, fPos + 2);
        if (at == std::string_view::npos) {
            Problem(fLine, std::string("the file ends early, inside ") + what);
            Advance(fText.size());
            return;
        }
        Advance(at + end.size());
    }

    /// <!DOCTYPE …> with an internal subset in brackets that may hold '>'.
    void SkipDeclaration() {
        int brackets = 0;
        char quote = 0;
        for (std::size_t i = fPos + 2; i < fText.size(); ++i) {
            const char c = fText[i];
            if (quote) {
                if (c == quote) quote = 0;
            } else if (c == '"' || c == '\'') {
                quote = c;
            } else if (c == '[') {
                ++brackets;
            } else if (c == ']') {
                --brackets;
            } else if (c == '>' && brackets <= 0) {
                Advance(i + 1);
                return;
            }
        }
        Problem(fLine, "the file ends early, inside a declaration");
        Advance(fText.size());
    }

    std::string_view Name() {
        const std::size_t start = fPos;
        while (fPos < fText.size() && isNameChar(fText[fPos]))
            ++fPos;
        return fText.substr(start, fPos - start);
    }

    void SkipSpaces() {
        const std::size_t start = fPos;
        while (fPos < fText.size() && isSpace(fText[fPos]))
            ++fPos;
        CountLines(start, fPos);
    }

    void EndTag() {
        const std::size_t line = fLine;
        fPos += 2;
        const std::string_view name = Name();
        SkipSpaces();
        if (fPos >= fText.size()) {
            Problem(line, "the file ends early, inside the end tag of '" + Shown(name) + "'");
            return;
        }
        if (fText[fPos] != '>') {
            Problem(line, "the end tag of '" + Shown(name) + "' is malformed");
            Advance(std::min(fText.find('>', fPos), fText.size()));
        }
        ++fPos;
        if (fOpen.empty()) return; // nothing to close: the reader would ignore it too
        fOpen.pop_back();
        fOut += "</";
        fOut += name;
        fOut += '>';
    }

    void StartTag() {
        const std::size_t line = fLine;
        ++fPos;
        const std::string_view name = Name();
        if (name.empty()) {
            // A '<' that starts no tag: a reader of XML stops here; this one goes on after it.
            Problem(line, "a '<' starts no element");
            return;
        }
        // The tag is written in place and taken back if it turns out cut off.
        const std::size_t mark = fOut.size();
        fOut += '<';
        fOut += name;
        for (;;) {
            const std::size_t before = fPos;
            SkipSpaces();
            if (fPos >= fText.size()) {
                Problem(line, "the file ends early, inside the start tag of '" + Shown(name) + "'");
                fOut.resize(mark);
                return;
            }
            const char c = fText[fPos];
            if (c == '>' || (c == '/' && fPos + 1 < fText.size() && fText[fPos + 1] == '>')) {
                fPos += c == '>' ? 1 : 2;
                fOut += '>';
                if (c == '/') {
                    fOut += "</";
                    fOut += name;
                    fOut += '>';
                } else {
                    fOpen.emplace_back(name);
                }
                return;
            }
            if (fPos == before || !Attribute(name, line)) {
                // Its attributes up to the malformed one are kept, and the element is read.
                std::size_t stop = fPos;
                while (stop < fText.size() && fText[stop] != '>' && fText[stop] != '<')
                    ++stop;
                if (stop >= fText.size()) {
                    // Only a complete start tag is taken: a cut one may lack what its keys needed.
                    Problem(line, "the file ends early, inside the start tag of '" + Shown(name) + "'");
                    Advance(stop);
                    fOut.resize(mark);
                    return;
                }
                Problem(line, "the start tag of '" + Shown(name) + "' is malformed");
                Advance(fText[stop] == '>' ? stop + 1 : stop);
                fOut += '>';
                fOpen.emplace_back(name);
                return;
            }
        }
    }

    /// name S? = S? quoted value; written as ` name="value"`.
    bool Attribute(std::string_view element, std::size_t line) {
        const std::string_view key = Name();
        if (key.empty()) return false;
        SkipSpaces();
        if (fPos >= fText.size() || fText[fPos] != '=') return false;
        ++fPos;
        SkipSpaces();
        if (fPos >= fText.size() || (fText[fPos] != '"' && fText[fPos] != '\'')) return false;
        const char quote = fText[fPos];
        const std::size_t end = fText.find(quote, fPos + 1);
        if (end == std::string_view::npos) return false;
        if (end - fPos - 1 > fMaxValue) {
            Problem(line, "the value of '" + Shown(key) + "' in '" + Shown(element) + "' has " +
                              std::to_string(end - fPos - 1) + " bytes, more than the limit of " +
                              std::to_string(fMaxValue) +
                              " (TOrnExchange::SetMaxValueBytes raises it): it is not read");
            Advance(end + 1);
            return true;
        }
        fOut += ' ';
        fOut += key;
        fOut += "=\"";
        // Values are long runs of ordinary characters: copied a run at a time.
        for (std::size_t i = fPos + 1; i < end;) {
            std::size_t run = i;
            while (run < end && !isSpace(fText[run]) && !isReplaced(fText[run]))
                ++run;
            fOut.append(fText.data() + i, run - i);
            if (run == end) break;
            if (isSpace(fText[run]))
                fOut += ' ';
            else
                AppendReference(fOut, fText[run]);
            i = run + 1;
        }
        fOut += '"';
        Advance(end + 1);
        return true;
    }

    static void AppendReference(std::string& out, char c) {
        out += "&#";
        out += std::to_string(static_cast<int>(c));
        out += ';';
    }

    static std::string Shown(std::string_view name) {
        std::string s;
        AppendEscaped(s, name.substr(0, 64));
        return s;
    }

    void Problem(std::size_t line, const std::string& what) {
        // The first ones tell what is wrong; a hostile file could have millions.
        if (fProblems.size() >= 100) return;
        fProblems.push_back("line " + std::to_string(line) + ": " + what);
    }

    std::string_view fText;
    std::vector<std::string>& fProblems;
    std::string fOut;
    std::vector<std::string> fOpen;
    std::size_t fMaxValue;
    std::size_t fPos = 0;
    std::size_t fLine = 1;
};

} // namespace

std::string SceneMarkup(std::string_view text, std::vector<std::string>& problems, std::size_t maxValue) {
    return Rewriter(text, problems, maxValue).Run();
}

} // namespace orn::detail
