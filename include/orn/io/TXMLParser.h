#pragma once

#include <orn/host/TComponent.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace orn {

/// The record of one open element. The reader reuses records: a record handed to an event stays
/// valid until the end tag that closes its element or the next execute; keep copies, not
/// references, beyond that.
class TXMLTag {
    // Where one line of Params lies: the name is [Begin, Equal), the value (Equal, End); a line
    // without '=' has Equal == End and an empty value.
    struct TParamSpan {
        std::size_t Begin = 0;
        std::size_t Equal = 0;
        std::size_t End = 0;
    };

public:
    /// Line break that ends every line of Params.
    static constexpr std::string_view ParamLineBreak = "\n";

    std::string Name;
    /// Text between this element's start tag and the next '<' (white space included).
    std::string Value;
    /// The attributes as lines "name=value", each followed by ParamLineBreak.
    std::string Params;
    /// 0 for the root record, parent's depth + 1 for each element.
    std::int32_t Depth = 0;
    /// 0 normal; 1 (set in OnTag): close the element right after its start event;
    /// 2: keep this record on the next end tag instead of popping it.
    std::int32_t Close = 0;
    TXMLTag* Parent = nullptr;
    /// The object handed to TXMLParser::execute; set in the root record only.
    TObject* Data = nullptr;

    // The parsed view of Params: its lines split at their first '=', in order, duplicates kept.
    // Set together with Params; the views point into Params. An index out of range gives an
    // empty view.
    int ParamCount() const { return static_cast<int>(fSpans.size()); }
    std::string_view ParamNameAt(int index) const {
        if (index < 0 || index >= ParamCount()) return {};
        const TParamSpan& span = fSpans[static_cast<std::size_t>(index)];
        return Slice(span.Begin, span.Equal);
    }
    std::string_view ParamValueAt(int index) const {
        if (index < 0 || index >= ParamCount()) return {};
        const TParamSpan& span = fSpans[static_cast<std::size_t>(index)];
        return Slice(span.Equal < span.End ? span.Equal + 1 : span.End, span.End);
    }
    /// Index of the first attribute whose name equals name, letter case ignored; -1 when none does.
    int IndexOfParam(std::string_view name) const;
    /// The value of the first attribute named name (letter case ignored), or def when there is none.
    std::string_view ParamValue(std::string_view name, std::string_view def = {}) const;

private:
    friend class TXMLParser;

    /// Empties the record for reuse, keeping the storage of its strings.
    void Recycle();
    // Clamped, so that a handler that edited Params gets wrong text rather than a bad read.
    std::string_view Slice(std::size_t begin, std::size_t end) const {
        if (end > Params.size()) end = Params.size();
        if (begin > end) begin = end;
        return std::string_view(Params).substr(begin, end - begin);
    }

    std::vector<TParamSpan> fSpans;
};

/// Handler of the element events: the parser and the current element's record.
using TTagEvent = std::function<void(TObject* sender, TXMLTag& tag)>;
/// Handler of comments and declarations: the text read, from '<' to '>' inclusive.
using TXMLStringEvent = std::function<void(const std::string& text)>;
/// Handler of progress: the fraction of the input consumed, 0 … 1.
using TXMLProgressEvent = std::function<void(double fraction)>;

/// The small event-driven reader of the scene file's tag language. It checks nothing: end tags
/// are not matched with start tags, entities are not decoded, nothing is reported as an error.
/// Bytes are taken as they are; a zero byte ends the input.
class TXMLParser : public TComponent {
    ORN_CLASS(TXMLParser)
public:
    enum TStates { stDefault, stOpenTag, stCloseTag, stValue, stParam, stSpecial, stComment };

    explicit TXMLParser(TComponent* owner);
    ~TXMLParser() override;

    /// Parses the whole of Stream(), first loading FileName() into it when it is empty; data is
    /// stored in the root record. Stream() is empty afterwards, also when a handler threw. Each
    /// run starts at the root record. Throws EOrnError naming the file and the system's reason
    /// when the file cannot be read, and when called again from one of its own event handlers.
    void execute(TObject* data = nullptr);

    /// The input: the caller may fill it before execute.
    std::string& Stream() { return fStream; }
    const std::string& Stream() const { return fStream; }

    const std::string& FileName() const { return fFileName; }
    void SetFileName(const std::string& value) { fFileName = value; }

    TStates State() const { return fState; }
    /// The text being accumulated: in OnParam the line just added, in OnEndTag what the end tag
    /// held of its name, in OnComment and OnSpecial their text.
    std::string_view Text() const;
    /// The record of the innermost open element (the root record outside any element).
    TXMLTag& Current() { return *fOpen.back(); }
    TXMLTag& Root() { return *fRoot; }

    // Each fires its event when one is assigned. atTag also closes the current element at once
    // when OnTag set its Close flag to 1.
    void atTag();
    void atEndtag();
    void atParam();
    void atValue();
    void atTagName();
    void atComment();
    void atSpecial();
    void atProgress(double fraction);

    TTagEvent OnEndTag;
    TTagEvent OnTag;
    TTagEvent OnParam;
    TTagEvent OnValue;
    TTagEvent OnTagName;
    TXMLStringEvent OnComment;
    TXMLStringEvent OnSpecial;
    TXMLProgressEvent OnProgress;

private:
    void loadFile();
    void parse(const char* begin, const char* end, std::size_t size);
    const char* doDefault(const char* p, const char* end);
    const char* doOpenTag(const char* p, const char* end);
    const char* endName(const char* p);
    const char* doParam(const char* p, const char* end);
    const char* doValue(const char* p, const char* end);
    const char* doCloseTag(const char* p, const char* end);
    const char* doSpecial(const char* p);
    const char* doComment(const char* p);
    void openElement();
    void closeElement();
    // While attributes are read the buffer lives at the end of the attribute list's text, so that
    // adding it as a line copies nothing.
    void addParamLine();
    void appendParam(const char* from, const char* to);
    void reopenParamLine();
    bool paramBufferEmpty() const { return (fLineAdded ? fLineEnd : fParamText.size()) == fLineStart; }
    void clearParamBuffer();
    void clearParamList() {
        fParamText.clear();
        fParamSpans.clear();
        fLineStart = fLineEnd = 0;
        fLineAdded = false;
        fLineSource = &fParamText;
    }
    void append(const char* from, const char* to) { fText.append(from, static_cast<std::size_t>(to - from)); }
    void resetText() {
        fText.clear();
        fInQuote = false;
        fDashes = 0;
    }
    void releaseOpen();

    std::string fStream;
    TStates fState = stDefault;
    std::string fText;
    bool fInQuote = false; // inside a quoted attribute value
    int fDashes = 0;       // dashes right before the current character of a comment
    bool fRunning = false;
    std::string fFileName;
    std::unique_ptr<TXMLTag> fRoot;
    std::vector<TXMLTag*> fOpen;                    // root first, current last
    std::vector<std::unique_ptr<TXMLTag>> fRecords; // every element record ever made
    std::vector<TXMLTag*> fFree;                    // records ready for reuse
    std::string fParamText;                         // the attribute list as text, as Params gets it
    std::vector<TXMLTag::TParamSpan> fParamSpans;   // its lines
    std::size_t fLineStart = 0;                     // where the buffer starts in fParamText
    std::size_t fLineEnd = 0;                       // where it ends once it was added as a line
    bool fLineAdded = false;                        // the buffer is the last line added
    const std::string* fLineSource = &fParamText;   // holds the buffer: a record's Params once handed over
};

} // namespace orn
