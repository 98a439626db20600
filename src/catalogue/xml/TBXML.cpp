#include "catalogue/xml/TBXML.h"

#include "core/html_entities.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

constexpr int kRecordsPerBlock = 100;

struct ElementBlock {
    TBXMLElement elements[kRecordsPerBlock];
    ElementBlock* next;
    ElementBlock* previous;
};

struct AttributeBlock {
    TBXMLAttribute attributes[kRecordsPerBlock];
    AttributeBlock* next;
    AttributeBlock* previous;
};

constexpr std::string_view kCommentOpen = "<!--";
constexpr std::string_view kCommentClose = "-->";
constexpr std::string_view kCdataOpen = "<![CDATA[";
constexpr std::string_view kCdataClose = "]]>";

// The C locale's white space, without a locale look-up per byte.
inline bool isBlank(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

inline bool startsWith(const char* p, const char* end, std::string_view s)
{
    return static_cast<std::size_t>(end - p) >= s.size() && std::memcmp(p, s.data(), s.size()) == 0;
}

inline char* findText(char* from, const char* end, std::string_view s)
{
    return static_cast<char*>(::memmem(from, static_cast<std::size_t>(end - from), s.data(), s.size()));
}

inline char* findByte(char* from, const char* end, char c)
{
    return static_cast<char*>(std::memchr(from, c, static_cast<std::size_t>(end - from)));
}

// Moves [from, to) down to `to_`, which is never above `from`; returns the end of the moved bytes.
inline char* moveDown(char* to_, char* from, char* to)
{
    const auto n = static_cast<std::size_t>(to - from);
    if (to_ != from)
        std::memmove(to_, from, n);
    return to_ + n;
}

// The first '>' or '<' at or after `from`, stepping over CDATA sections; null when the tag never ends.
char* findTagEnd(char* from, const char* end)
{
    for (char* q = from; q < end; ++q) {
        if (*q == '>')
            return q;
        if (*q == '<') {
            if (!startsWith(q, end, kCdataOpen))
                return q;
            char* close = findText(q + kCdataOpen.size(), end, kCdataClose);
            if (!close)
                return nullptr;
            q = close + kCdataClose.size() - 1;
        }
    }
    return nullptr;
}

char* trim(char* text)
{
    while (isBlank(*text))
        ++text;
    char* last = text + std::strlen(text);
    while (last > text && isBlank(last[-1]))
        *--last = '\0';
    return text;
}

// Drops every "<![CDATA[" ... "]]>" marker pair from the zero-terminated value [value, valueEnd).
void stripCdataMarkers(char* value, char* valueEnd)
{
    char* w = value;
    char* r = value;
    for (;;) {
        char* open = findText(r, valueEnd, kCdataOpen);
        char* close = open ? findText(open + kCdataOpen.size(), valueEnd, kCdataClose) : nullptr;
        if (!close)
            break;
        w = moveDown(w, r, open);
        w = moveDown(w, open + kCdataOpen.size(), close);
        r = close + kCdataClose.size();
    }
    if (w == r)
        return;
    w = moveDown(w, r, valueEnd);
    *w = '\0';
}

} // namespace

const QString TBXML::errorDomain = QStringLiteral("TBXMLErrorDomain");

QString TBXML::errorDescription(int code)
{
    switch (code) {
    case DataNil: return QStringLiteral("Data is nil");
    case DecodeFailure: return QStringLiteral("Decode failure");
    case MemoryAllocFailure: return QStringLiteral("Unable to allocate memory");
    case FileNotFoundInBundle: return QStringLiteral("File not found in bundle");
    case ElementIsNil: return QStringLiteral("Element is nil");
    case ElementNameIsNil: return QStringLiteral("Element name is nil");
    case ElementNotFound: return QStringLiteral("Element not found");
    case ElementTextIsNil: return QStringLiteral("Element text is nil");
    case AttributeIsNil: return QStringLiteral("Attribute is nil");
    case AttributeNameIsNil: return QStringLiteral("Attribute name is nil");
    case AttributeNotFound: return QStringLiteral("Attribute not found");
    case ParamNameIsNil: return QStringLiteral("Parameter name is nil");
    default: return QStringLiteral("No Error Description!");
    }
}

namespace {

void setError(platform::Error* error, int code)
{
    if (error)
        *error = platform::Error{TBXML::errorDomain, code, TBXML::errorDescription(code)};
}

} // namespace

struct TBXML::Impl {
    char* bytes = nullptr;
    std::size_t bytesLength = 0;
    TBXMLElement* root = nullptr;

    ElementBlock* currentElementBuffer = nullptr;
    int currentElement = 0; // records handed out from the newest block
    AttributeBlock* currentAttributeBuffer = nullptr;
    int currentAttribute = 0;

    Impl() = default;
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;
    ~Impl();

    void init(std::string_view utf8, platform::Error* error);
    void decodeBytes();
    TBXMLElement* nextElement();
    TBXMLAttribute* nextAttribute();
    char* liftCdata(char* open, char* end);
    bool openElement(char* tagStart, char* tagEnd, bool selfClosing, TBXMLElement*& parent);
    bool parseAttributes(TBXMLElement* element, char* from, char* to);
};

TBXML::Impl::~Impl()
{
    std::free(bytes);
    for (ElementBlock* block = currentElementBuffer; block;) {
        ElementBlock* previous = block->previous;
        std::free(block);
        block = previous;
    }
    for (AttributeBlock* block = currentAttributeBuffer; block;) {
        AttributeBlock* previous = block->previous;
        std::free(block);
        block = previous;
    }
}

TBXMLElement* TBXML::Impl::nextElement()
{
    if (!currentElementBuffer || currentElement == kRecordsPerBlock) {
        auto* block = static_cast<ElementBlock*>(std::calloc(1, sizeof(ElementBlock)));
        if (!block)
            return nullptr;
        block->previous = currentElementBuffer;
        if (currentElementBuffer)
            currentElementBuffer->next = block;
        currentElementBuffer = block;
        currentElement = 0;
    }
    return &currentElementBuffer->elements[currentElement++];
}

TBXMLAttribute* TBXML::Impl::nextAttribute()
{
    if (!currentAttributeBuffer || currentAttribute == kRecordsPerBlock) {
        auto* block = static_cast<AttributeBlock*>(std::calloc(1, sizeof(AttributeBlock)));
        if (!block)
            return nullptr;
        block->previous = currentAttributeBuffer;
        if (currentAttributeBuffer)
            currentAttributeBuffer->next = block;
        currentAttributeBuffer = block;
        currentAttribute = 0;
    }
    return &currentAttributeBuffer->attributes[currentAttribute++];
}

void TBXML::Impl::init(std::string_view utf8, platform::Error* error)
{
    if (utf8.empty()) {
        setError(error, DataNil);
        return;
    }
    bytes = static_cast<char*>(std::malloc(utf8.size() + 1));
    if (!bytes) {
        setError(error, MemoryAllocFailure);
        return;
    }
    std::memcpy(bytes, utf8.data(), utf8.size());
    bytes[utf8.size()] = '\0';
    bytesLength = utf8.size();
    decodeBytes();
    if (!root)
        setError(error, DecodeFailure);
}

// A run of CDATA sections in text, starting at `open`, becomes plain text: each section's content
// takes the place of its markers, the text up to the next tag closes up behind it, and the bytes
// thus freed before that tag turn into blanks (trimmed away later). Doing the whole run at once
// keeps this linear however many sections follow each other. Returns the tag that ends the run,
// or null when the walk has to stop (end of document, or a section that never closes).
char* TBXML::Impl::liftCdata(char* open, char* end)
{
    char* w = open;
    char* r = open;
    char* runEnd = nullptr;
    bool unclosed = false;
    for (;;) {
        char* content = r + kCdataOpen.size();
        char* close = findText(content, end, kCdataClose);
        if (!close) {
            if (r == open)
                return nullptr;
            // A later section never closes: it is kept as it stands, and the walk ends there.
            w = moveDown(w, r, end);
            runEnd = end;
            unclosed = true;
            break;
        }
        w = moveDown(w, content, close);
        char* after = close + kCdataClose.size();
        char* next = findByte(after, end, '<');
        if (!next)
            next = end;
        w = moveDown(w, after, next);
        if (next < end && startsWith(next, end, kCdataOpen)) {
            r = next;
            continue;
        }
        runEnd = next;
        break;
    }
    std::memset(w, ' ', static_cast<std::size_t>(runEnd - w));
    return unclosed || runEnd == end ? nullptr : runEnd;
}

bool TBXML::Impl::parseAttributes(TBXMLElement* element, char* from, char* to)
{
    enum { Between, InName, BeforeValue, InValue, InCdata } state = Between;
    char* name = nullptr;
    char* value = nullptr;
    char quote = 0;
    TBXMLAttribute* last = nullptr;
    for (char* q = from; q < to; ++q) {
        const char c = *q;
        switch (state) {
        case Between:
            if (!isBlank(c)) {
                name = q;
                state = InName;
            }
            break;
        case InName:
            if (isBlank(c) || c == '=') {
                *q = '\0';
                state = BeforeValue;
            }
            break;
        case BeforeValue:
            if (c == '"' || c == '\'') {
                value = q + 1;
                quote = c;
                state = InValue;
            }
            break;
        case InValue:
            if (c == quote) {
                *q = '\0';
                stripCdataMarkers(value, q);
                TBXMLAttribute* attribute = nextAttribute();
                if (!attribute)
                    return false;
                attribute->name = name;
                attribute->value = value;
                if (last)
                    last->next = attribute;
                else
                    element->firstAttribute = attribute;
                last = attribute;
                state = Between;
            } else if (c == '<' && startsWith(q, to, kCdataOpen)) {
                state = InCdata;
            }
            break;
        case InCdata:
            if (c == ']' && startsWith(q, to, kCdataClose))
                state = InValue;
            break;
        }
    }
    return true;
}

bool TBXML::Impl::openElement(char* tagStart, char* tagEnd, bool selfClosing, TBXMLElement*& parent)
{
    TBXMLElement* element = nextElement();
    if (!element)
        return false;
    if (!root)
        root = element;
    element->name = tagStart + 1;
    element->parentElement = parent;
    if (parent) {
        if (parent->currentChild) {
            parent->currentChild->nextSibling = element;
            element->previousSibling = parent->currentChild;
        } else {
            parent->firstChild = element;
        }
        parent->currentChild = element;
    }

    for (char* q = element->name; q < tagEnd; ++q) {
        if (*q == ' ' || *q == '/' || *q == '\n') {
            *q = '\0';
            if (!parseAttributes(element, q + 1, tagEnd))
                return false;
            break;
        }
    }

    if (!selfClosing) {
        parent = element;
        if (tagEnd[1] != '>')
            element->text = tagEnd + 1;
    }
    return true;
}

void TBXML::Impl::decodeBytes()
{
    // The document ends at its first zero byte.
    char* const end = findByte(bytes, bytes + bytesLength + 1, '\0');
    TBXMLElement* parent = nullptr;

    char* p = findByte(bytes, end, '<');
    while (p) {
        if (startsWith(p, end, kCommentOpen)) {
            char* close = findText(p + kCommentOpen.size(), end, kCommentClose);
            if (!close)
                return;
            p = findByte(close + kCommentClose.size(), end, '<');
            continue;
        }
        if (startsWith(p, end, kCdataOpen)) {
            p = liftCdata(p, end);
            continue;
        }

        char* tagEnd = findTagEnd(p + 1, end);
        if (!tagEnd)
            return;
        // Before any zero lands in the tag: the name cut could overwrite this '/'.
        const bool selfClosing = tagEnd[-1] == '/';
        *tagEnd = '\0';
        *p = '\0';

        switch (p[1]) {
        case '!': // document type and other declarations
        case '?': // the XML declaration and processing instructions
            break;
        case '/':
            if (parent) {
                if (parent->text)
                    parent->text = trim(parent->text);
                parent = parent->parentElement;
                // Text beside child elements is dropped.
                if (parent && parent->firstChild)
                    parent->text = nullptr;
            }
            break;
        default:
            if (!openElement(p, tagEnd, selfClosing, parent))
                return;
            break;
        }
        p = findByte(tagEnd + 1, end, '<');
    }
}

TBXML::TBXML(const QString& xml, platform::Error* error) : impl_(std::make_unique<Impl>())
{
    const QByteArray utf8 = xml.toUtf8();
    impl_->init(std::string_view(utf8.constData(), static_cast<std::size_t>(utf8.size())), error);
}

TBXML::TBXML(std::string_view utf8, platform::Error* error) : impl_(std::make_unique<Impl>())
{
    impl_->init(utf8, error);
}

TBXML::~TBXML() = default;

TBXMLElement* TBXML::rootXMLElement() const
{
    return impl_->root;
}

TBXMLElement* TBXML::childElementNamed(std::string_view name, const TBXMLElement* parent)
{
    if (!parent)
        return nullptr;
    for (TBXMLElement* child = parent->firstChild; child; child = child->nextSibling)
        if (name == child->name)
            return child;
    return nullptr;
}

TBXMLElement* TBXML::nextSiblingNamed(std::string_view name, const TBXMLElement* from)
{
    if (!from)
        return nullptr;
    for (TBXMLElement* sibling = from->nextSibling; sibling; sibling = sibling->nextSibling)
        if (name == sibling->name)
            return sibling;
    return nullptr;
}

QString TBXML::elementName(const TBXMLElement* element)
{
    return element ? QString::fromUtf8(element->name) : QString();
}

QString TBXML::textForElement(const TBXMLElement* element)
{
    return element && element->text ? QString::fromUtf8(element->text) : QString();
}

std::optional<QString> TBXML::valueOfAttributeNamed(std::string_view name, const TBXMLElement* element)
{
    if (!element)
        return std::nullopt;
    for (const TBXMLAttribute* attribute = element->firstAttribute; attribute; attribute = attribute->next)
        if (name == attribute->name)
            return QString::fromUtf8(attribute->value);
    return std::nullopt;
}

TBXMLElement* TBXML::childElementNamed(std::string_view name, const TBXMLElement* parent, platform::Error* error)
{
    if (!parent) {
        setError(error, ElementIsNil);
        return nullptr;
    }
    TBXMLElement* child = childElementNamed(name, parent);
    if (!child)
        setError(error, ElementNotFound);
    return child;
}

QString TBXML::textForElement(const TBXMLElement* element, platform::Error* error)
{
    if (!element) {
        setError(error, ElementIsNil);
        return QString();
    }
    if (!element->text) {
        setError(error, ElementTextIsNil);
        return QString();
    }
    return QString::fromUtf8(element->text);
}

std::optional<QString> TBXML::valueOfAttributeNamed(std::string_view name, const TBXMLElement* element,
                                                    platform::Error* error)
{
    if (!element) {
        setError(error, ElementIsNil);
        return std::nullopt;
    }
    if (!name.data()) {
        setError(error, AttributeNameIsNil);
        return std::nullopt;
    }
    std::optional<QString> value = valueOfAttributeNamed(name, element);
    if (!value)
        setError(error, AttributeNotFound);
    return value;
}

namespace {

int digitValue(char16_t c, int base)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (base == 16 && c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (base == 16 && c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

// The unit that the reference "&" + body stands for (body runs up to and including the ';'),
// or 0 when it is not one to decode.
char16_t referenceValue(const QChar* body, qsizetype length)
{
    const qsizetype digitsEnd = length - 1; // the ';'
    if (body[0] == u'#') {
        const bool hex = length > 1 && (body[1] == u'x' || body[1] == u'X');
        const int base = hex ? 16 : 10;
        const qsizetype first = hex ? 2 : 1;
        if (first >= digitsEnd)
            return 0;
        // At most eight digits fit in a candidate, so this cannot overflow.
        std::uint32_t value = 0;
        for (qsizetype i = first; i < digitsEnd; ++i) {
            const int digit = digitValue(body[i].unicode(), base);
            if (digit < 0)
                return 0;
            value = value * static_cast<std::uint32_t>(base) + static_cast<std::uint32_t>(digit);
        }
        return value >= 1 && value <= 65534 ? static_cast<char16_t>(value) : 0;
    }
    char name[10];
    for (qsizetype i = 0; i < length; ++i) {
        const char16_t c = body[i].unicode();
        if (c == 0 || c > 0x7F)
            return 0;
        name[i] = static_cast<char>(c);
    }
    const std::optional<char32_t> code =
        html_entity_code_point(std::string_view(name, static_cast<std::size_t>(length)));
    return code ? static_cast<char16_t>(*code) : 0;
}

} // namespace

QString TBXML::stringByDecodingXMLEntities(const QString& text)
{
    if (!text.contains(u'&'))
        return text;

    // Walking backwards, the part already looked at is built right-aligned in `out`; a reference
    // may end in it (its ';' can even come from an earlier replacement), but a replacement is
    // never looked at again as the start of one.
    const qsizetype n = text.size();
    QString out(n, Qt::Uninitialized);
    QChar* const buffer = out.data();
    qsizetype tail = n; // out[tail, n) is done
    qsizetype i = n;    // text[0, i) is still to do
    while (i > 0) {
        const qsizetype amp = text.lastIndexOf(u'&', i - 1);
        const qsizetype from = amp < 0 ? 0 : amp + 1;
        tail -= i - from;
        std::copy(text.constData() + from, text.constData() + i, buffer + tail);
        if (amp < 0)
            break;
        i = amp;

        // The first ';' after the '&', if it makes a candidate of 4 to 10 units.
        const qsizetype room = std::min<qsizetype>(n - tail, 9);
        qsizetype semicolon = -1;
        for (qsizetype k = 0; k < room; ++k)
            if (buffer[tail + k] == u';') {
                semicolon = k;
                break;
            }
        if (semicolon >= 2) {
            const char16_t value = referenceValue(buffer + tail, semicolon + 1);
            if (value) {
                tail += semicolon + 1;
                buffer[--tail] = QChar(value);
                continue;
            }
        }
        buffer[--tail] = u'&';
    }
    return out.sliced(tail);
}
