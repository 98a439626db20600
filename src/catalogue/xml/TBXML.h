#pragma once

#include "platform/Error.h"

#include <QString>

#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>

struct TBXMLAttribute {
    char* name;
    char* value;
    TBXMLAttribute* next;
};

struct TBXMLElement {
    char* name;
    char* text; // null when the element has none
    TBXMLAttribute* firstAttribute;
    TBXMLElement* parentElement;
    TBXMLElement* firstChild;
    TBXMLElement* currentChild;
    TBXMLElement* nextSibling;
    TBXMLElement* previousSibling;
};

// A read-only XML document, decoded in one pass over its own byte copy into a tree
// of element and attribute records. Names, texts and values point into that copy
// and live as long as the document.
class TBXML {
public:
    enum ErrorCode {
        DataNil = 1,
        DecodeFailure = 2,
        MemoryAllocFailure = 3,
        FileNotFoundInBundle = 4,
        ElementIsNil = 5,
        ElementNameIsNil = 6,
        ElementNotFound = 7,
        ElementTextIsNil = 8,
        AttributeIsNil = 9,
        AttributeNameIsNil = 10,
        AttributeNotFound = 11,
        ParamNameIsNil = 12,
    };
    static const QString errorDomain;
    static QString errorDescription(int code);

    // error, when given, receives codes 1, 2 or 3.
    explicit TBXML(const QString& xml, platform::Error* error = nullptr);
    explicit TBXML(std::string_view utf8, platform::Error* error = nullptr);
    ~TBXML();
    TBXML(const TBXML&) = delete;
    TBXML& operator=(const TBXML&) = delete;

    TBXMLElement* rootXMLElement() const;

    // The plain forms accept a null element and answer null, "" or nothing.
    static TBXMLElement* childElementNamed(std::string_view name, const TBXMLElement* parent);
    static TBXMLElement* nextSiblingNamed(std::string_view name, const TBXMLElement* from);
    static QString elementName(const TBXMLElement* element);
    static QString textForElement(const TBXMLElement* element);
    static std::optional<QString> valueOfAttributeNamed(std::string_view name, const TBXMLElement* element);

    // The forms with an error report codes 5, 7, 8, 10 and 11.
    static TBXMLElement* childElementNamed(std::string_view name, const TBXMLElement* parent, platform::Error* error);
    static QString textForElement(const TBXMLElement* element, platform::Error* error);
    static std::optional<QString> valueOfAttributeNamed(std::string_view name, const TBXMLElement* element,
                                                        platform::Error* error);

    // Character and entity references replaced, searched from the end backwards.
    static QString stringByDecodingXMLEntities(const QString& text);

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};
