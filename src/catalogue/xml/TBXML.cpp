#include "catalogue/xml/TBXML.h"

#include "core/html_entities.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

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

// The walk never writes a zero ahead of where it is, so from there on the first zero byte is the
// document's end, and the C string searches below stop exactly at it.
constexpr std::string_view kCommentOpen = "<!--";
constexpr std::string_view kCommentClose = "-->";
constexpr std::string_view kCdataOpen = "<![CDATA[";
constexpr std::string_view kCdataClose = "]]>";

// The C locale's white space, without a locale look-up per byte.
inline bool isBlank(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

inline bool startsWith(const char* p, std::string_view marker)
{
    return std::strncmp(p, marker.data(), marker.size()) == 0;
}

// `marker` is one of the literals above, so its data is zero-terminated.
inline char* findText(char* from, std::string_view marker)
{
    return std::strstr(from, marker.data());
}

inline char* endOf(char* s)
{
    return s + std::strlen(s);
}

// Moves [from, to) down to `to_`, which is never above `from`; returns the end of the moved bytes.
inline char* moveDown(char* to_, char* from, char* to)
{
    const auto n = static_cast<std::size_t>(to - from);
    if (to_ != from)
        std::memmove(to_, from, n);
    return to_ + n;
}

// The first byte at or after `p` that is `a`, `b` or zero. `limit` is one past the buffer, whose
// last byte is a zero; it only keeps the block-wise reads inside.
inline char* findEither(char* p, const char* limit, char a, char b)
{
#if defined(__SSE2__)
    const __m128i va = _mm_set1_epi8(a);
    const __m128i vb = _mm_set1_epi8(b);
    const __m128i zero = _mm_setzero_si128();
    for (; limit - p >= 16; p += 16) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        const __m128i hit =
            _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(v, va), _mm_cmpeq_epi8(v, vb)), _mm_cmpeq_epi8(v, zero));
        if (const int mask = _mm_movemask_epi8(hit))
            return p + __builtin_ctz(static_cast<unsigned>(mask));
    }
#endif
    while (*p != a && *p != b && *p)
        ++p;
    return p;
}

// The first '>' or '<' at or after `from`, stepping over CDATA sections; null when the tag never ends.
char* findTagEnd(char* from, const char* limit)
{
    for (char* q = findEither(from, limit, '<', '>'); *q; q = findEither(q, limit, '<', '>')) {
        if (*q == '>' || !startsWith(q, kCdataOpen))
            return q;
        char* close = findText(q + kCdataOpen.size(), kCdataClose);
        if (!close)
            return nullptr;
        q = close + kCdataClose.size();
    }
    return nullptr;
}

// `end`, when known, is the text's terminating zero.
char* trim(char* text, char* end)
{
    while (isBlank(*text))
        ++text;
    if (!end)
        end = endOf(text);
    while (end > text && isBlank(end[-1]))
        *--end = '\0';
    return text;
}

// Drops every "<![CDATA[" ... "]]>" marker pair from the value that ends at `valueEnd`.
void stripCdataMarkers(char* value, char* valueEnd)
{
    char* w = value;
    char* r = value;
    for (;;) {
        char* open = findText(r, kCdataOpen);
        char* close = open ? findText(open + kCdataOpen.size(), kCdataClose) : nullptr;
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

// Whether the zero-terminated `stored` equals `name`, without running past a shorter `stored`.
bool sameName(std::string_view name, const char* stored)
{
    for (char c : name) {
        if (*stored != c || c == '\0')
            return false;
        ++stored;
    }
    return *stored == '\0';
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
    const char* limit = nullptr; // one past the buffer
    TBXMLElement* root = nullptr;

    ElementBlock* currentElementBuffer = nullptr;
    int currentElement = kRecordsPerBlock; // records handed out from the newest block
    AttributeBlock* currentAttributeBuffer = nullptr;
    int currentAttribute = kRecordsPerBlock;

    Impl() = default;
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;
    ~Impl();

    void init(std::string_view utf8, platform::Error* error);
    void decodeBytes();
    char* liftCdata(char* open);
    TBXMLElement* openElement(char* tagStart, char* tagEnd, bool selfClosing, TBXMLElement*& parent);
    bool parseAttributes(TBXMLElement* element, char* from);

    TBXMLElement* nextElement()
    {
        if (currentElement == kRecordsPerBlock && !addElementBlock())
            return nullptr;
        return &currentElementBuffer->elements[currentElement++];
    }

    TBXMLAttribute* nextAttribute()
    {
        if (currentAttribute == kRecordsPerBlock && !addAttributeBlock())
            return nullptr;
        return &currentAttributeBuffer->attributes[currentAttribute++];
    }

    bool addElementBlock();
    bool addAttributeBlock();
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

bool TBXML::Impl::addElementBlock()
{
    auto* block = static_cast<ElementBlock*>(std::calloc(1, sizeof(ElementBlock)));
    if (!block)
        return false;
    block->previous = currentElementBuffer;
    if (currentElementBuffer)
        currentElementBuffer->next = block;
    currentElementBuffer = block;
    currentElement = 0;
    return true;
}

bool TBXML::Impl::addAttributeBlock()
{
    auto* block = static_cast<AttributeBlock*>(std::calloc(1, sizeof(AttributeBlock)));
    if (!block)
        return false;
    block->previous = currentAttributeBuffer;
    if (currentAttributeBuffer)
        currentAttributeBuffer->next = block;
    currentAttributeBuffer = block;
    currentAttribute = 0;
    return true;
}

// A run of CDATA sections in text, starting at `open`, becomes plain text: each section's content
// takes the place of its markers, the text up to the next tag closes up behind it, and the bytes
// thus freed before that tag turn into blanks (trimmed away later). Doing the whole run at once
// keeps this linear however many sections follow each other. Returns the tag that ends the run,
// or null when the walk has to stop (end of document, or a section that never closes).
char* TBXML::Impl::liftCdata(char* open)
{
    char* w = open;
    char* r = open;
    for (;;) {
        char* content = r + kCdataOpen.size();
        char* close = findText(content, kCdataClose);
        if (!close) {
            if (r == open)
                return nullptr;
            // A later section never closes: it is kept as it stands, and the walk ends there.
            char* end = endOf(r);
            w = moveDown(w, r, end);
            std::memset(w, ' ', static_cast<std::size_t>(end - w));
            return nullptr;
        }
        w = moveDown(w, content, close);
        char* after = close + kCdataClose.size();
        char* next = std::strchr(after, '<');
        char* stop = next ? next : endOf(after);
        w = moveDown(w, after, stop);
        if (next && startsWith(next, kCdataOpen)) {
            r = next;
            continue;
        }
        std::memset(w, ' ', static_cast<std::size_t>(stop - w));
        return next;
    }
}

// Attributes from `from` up to the tag's end, which is already a zero.
bool TBXML::Impl::parseAttributes(TBXMLElement* element, char* from)
{
    enum { Between, InName, BeforeValue, InValue, InCdata } state = Between;
    char* name = nullptr;
    char* value = nullptr;
    char quote = 0;
    bool hasCdata = false;
    TBXMLAttribute* last = nullptr;
    for (char* q = from; *q; ++q) {
        switch (state) {
        case Between:
            if (!isBlank(*q)) {
                name = q;
                state = InName;
            }
            break;
        case InName:
            if (isBlank(*q) || *q == '=') {
                *q = '\0';
                state = BeforeValue;
            }
            break;
        case BeforeValue:
            if (*q == '"' || *q == '\'') {
                value = q + 1;
                quote = *q;
                hasCdata = false;
                state = InValue;
            }
            break;
        case InValue:
            q = findEither(q, limit, quote, '<');
            if (!*q)
                return true;
            if (*q == '<') {
                if (startsWith(q, kCdataOpen)) {
                    hasCdata = true;
                    state = InCdata;
                }
                break;
            }
            *q = '\0';
            if (hasCdata)
                stripCdataMarkers(value, q);
            if (TBXMLAttribute* attribute = nextAttribute()) {
                attribute->name = name;
                attribute->value = value;
                if (last)
                    last->next = attribute;
                else
                    element->firstAttribute = attribute;
                last = attribute;
            } else {
                return false;
            }
            state = Between;
            break;
        case InCdata:
            q = findText(q, kCdataClose);
            if (!q)
                return true;
            state = InValue;
            break;
        }
    }
    return true;
}

// Returns the new element, or null when no record could be had.
TBXMLElement* TBXML::Impl::openElement(char* tagStart, char* tagEnd, bool selfClosing, TBXMLElement*& parent)
{
    TBXMLElement* element = nextElement();
    if (!element)
        return nullptr;
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

    for (char* q = element->name; *q; ++q) {
        if (*q == ' ' || *q == '/' || *q == '\n') {
            *q = '\0';
            if (!parseAttributes(element, q + 1))
                return nullptr;
            break;
        }
    }

    if (!selfClosing) {
        parent = element;
        if (tagEnd[1] != '>')
            element->text = tagEnd + 1;
    }
    return element;
}

void TBXML::Impl::decodeBytes()
{
    TBXMLElement* parent = nullptr;
    // The element whose start tag was the last tag read: its text, if any, ends at the next tag.
    TBXMLElement* justOpened = nullptr;

    char* p = std::strchr(bytes, '<');
    while (p) {
        if (p[1] == '!') {
            if (startsWith(p, kCommentOpen)) {
                char* close = findText(p + kCommentOpen.size(), kCommentClose);
                if (!close)
                    return;
                p = std::strchr(close + kCommentClose.size(), '<');
                continue;
            }
            if (startsWith(p, kCdataOpen)) {
                p = liftCdata(p);
                continue;
            }
        }

        char* tagEnd = findTagEnd(p + 1, limit);
        if (!tagEnd)
            return;
        // Before any zero lands in the tag: the name cut could overwrite this '/'.
        const bool selfClosing = tagEnd[-1] == '/';
        *tagEnd = '\0';
        *p = '\0';

        TBXMLElement* opened = nullptr;
        switch (p[1]) {
        case '!': // document type and other declarations
        case '?': // the XML declaration and processing instructions
            break;
        case '/':
            if (parent) {
                if (parent->text)
                    parent->text = trim(parent->text, parent == justOpened ? p : nullptr);
                parent = parent->parentElement;
                // Text beside child elements is dropped.
                if (parent && parent->firstChild)
                    parent->text = nullptr;
            }
            break;
        default:
            opened = openElement(p, tagEnd, selfClosing, parent);
            if (!opened)
                return;
            break;
        }
        justOpened = opened && opened == parent ? opened : nullptr;
        p = std::strchr(tagEnd + 1, '<');
    }
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
    limit = bytes + bytesLength + 1;
    decodeBytes();
    if (!root)
        setError(error, DecodeFailure);
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
        if (sameName(name, child->name))
            return child;
    return nullptr;
}

TBXMLElement* TBXML::nextSiblingNamed(std::string_view name, const TBXMLElement* from)
{
    if (!from)
        return nullptr;
    for (TBXMLElement* sibling = from->nextSibling; sibling; sibling = sibling->nextSibling)
        if (sameName(name, sibling->name))
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
        if (sameName(name, attribute->name))
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
        if (value >= 0xD800 && value <= 0xDFFF)
            return u'\uFFFD'; // half of a pair is no letter: the text stays valid
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
