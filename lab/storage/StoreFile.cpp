#include "lab/storage/StoreFile.h"

#include <shlwapi.h>
#include <xmllite.h>

#include <cstdio>
#include <iterator>
#include <memory>

#include "lab/journal/Environment.h"
#include "lab/journal/Handle.h"
#include "lab/journal/Journal.h"

namespace lab {
namespace {

constexpr HRESULT kNotFound = static_cast<HRESULT>(0x80070490);     // ERROR_NOT_FOUND
constexpr HRESULT kInvalidData = static_cast<HRESULT>(0x8007000D);  // ERROR_INVALID_DATA

struct ComRelease {
    void operator()(IUnknown* object) const noexcept { object->Release(); }
};
template <class Interface>
using ComPtr = std::unique_ptr<Interface, ComRelease>;

HRESULT LastError() {
    return HRESULT_FROM_WIN32(::GetLastError());
}

/// Loaded by name: the cross compiler has no import library for it.
HRESULT MakeReader(ComPtr<IXmlReader>& reader) {
    using CreateXmlReaderCall = HRESULT(WINAPI*)(REFIID, void**, IMalloc*);
    static const HMODULE library = ::LoadLibraryW(L"xmllite.dll");
    const auto create = library ? reinterpret_cast<CreateXmlReaderCall>(reinterpret_cast<void*>(
                                      ::GetProcAddress(library, "CreateXmlReader")))
                                : nullptr;
    if (!create)
        return LastError();
    void* made = nullptr;
    const HRESULT hr = create(__uuidof(IXmlReader), &made, nullptr);
    reader.reset(static_cast<IXmlReader*>(made));
    return hr;
}

/// The file with all that is beyond ASCII in the escaped form, which texts may have anyway: Wine's
/// reader breaks the characters that lie across the ends of the pieces in which it reads.
HRESULT ReadAsAscii(const std::wstring& path, std::string& ascii) {
    if (::GetFileAttributesW(path.c_str()) == INVALID_FILE_ATTRIBUTES)
        return LastError();
    const std::string bytes = FileText(path);
    const int length = static_cast<int>(bytes.size());
    std::wstring text(bytes.size(), L'\0');
    text.resize(static_cast<std::size_t>(::MultiByteToWideChar(
        CP_UTF8, MB_ERR_INVALID_CHARS, bytes.data(), length, text.data(), length)));
    if (text.empty())
        return kInvalidData;
    ascii.reserve(bytes.size());
    for (const wchar_t unit : text) {
        if (unit < 0x80) {
            ascii += static_cast<char>(unit);
        } else {
            char escaped[8];
            std::snprintf(escaped, sizeof(escaped), "\\u%04X", unsigned{unit});
            ascii += escaped;
        }
    }
    return S_OK;
}

std::wstring FoldedCase(std::wstring name) {
    ::CharUpperBuffW(name.data(), static_cast<DWORD>(name.size()));
    return name;
}

/// Moves an attribute out of the list, so that what remains at the end is unknown.
std::wstring Take(AttributeMap& attributes, const wchar_t* name) {
    auto node = attributes.extract(name);
    return node ? std::move(node.mapped()) : std::wstring();
}

bool TakeShape(AttributeMap& attributes, ResultShape& shape) {
    shape.result = Take(attributes, L"result");
    const std::wstring lower = Take(attributes, L"lower");
    if (lower.find_first_not_of(L"0123456789") != std::wstring::npos || lower.size() > 6)
        return false;
    shape.lower = lower.empty() ? 0 : std::stol(lower);
    return shape.IsKnown();
}

std::string Attribute(const char* name, const std::wstring& text) {
    std::string out = std::string(" ") + name + "=\"";
    for (const char character : Escape(text)) {
        switch (character) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '"':
                out += "&quot;";
                break;
            default:
                out += character;
        }
    }
    return out + '"';
}

std::string TypedAttributes(const char* name, const char* typeName, const TypedText& text) {
    return Attribute(name, text.Text()) +
           (text.TypeWord().empty() ? "" : Attribute(typeName, text.TypeWord()));
}

std::string ShapeAttributes(const ResultShape& shape) {
    return (shape.result.empty() ? "" : Attribute("result", shape.result)) +
           (shape.lower == 0 ? "" : Attribute("lower", std::to_wstring(shape.lower)));
}

}  // namespace

HRESULT StoreFile::Open(const std::wstring& path) {
    *this = StoreFile();
    m_path = path;
    std::string ascii;
    ComPtr<IXmlReader> reader;
    HRESULT hr = ReadAsAscii(path, ascii);
    if (FAILED(hr) || FAILED(hr = MakeReader(reader)))
        return hr;
    const ComPtr<IStream> file(::SHCreateMemStream(reinterpret_cast<const BYTE*>(ascii.data()),
                                                   static_cast<UINT>(ascii.size())));
    if (FAILED(hr = reader->SetInput(file.get())))
        return hr;
    std::size_t depth = 0;
    bool sawStore = false;
    const auto failAtThisLine = [this, &reader](HRESULT failure) {
        reader->GetLineNumber(&m_failedLine);
        return failure;
    };
    XmlNodeType type = XmlNodeType_None;
    while ((hr = reader->Read(&type)) == S_OK) {
        if (type == XmlNodeType_EndElement) {
            --depth;
        } else if (type == XmlNodeType_Text || type == XmlNodeType_CDATA) {
            return failAtThisLine(kInvalidData);
        } else if (type == XmlNodeType_Element) {
            const bool hasContent = !reader->IsEmptyElement();
            const wchar_t* text = nullptr;
            reader->GetLocalName(&text, nullptr);
            const std::wstring element = text;
            AttributeMap attributes;
            for (hr = reader->MoveToFirstAttribute(); hr == S_OK;
                 hr = reader->MoveToNextAttribute()) {
                reader->GetLocalName(&text, nullptr);
                const std::wstring name = text;
                UINT length = 0;
                reader->GetValue(&text, &length);
                const auto value = Unescape(std::wstring_view(text, length));
                if (!value || !attributes.emplace(name, *value).second)
                    return failAtThisLine(kInvalidData);
            }
            if (FAILED(hr))
                return failAtThisLine(hr);
            if (!AddElement(depth, element, std::move(attributes)))
                return failAtThisLine(kInvalidData);
            sawStore = true;
            depth += hasContent ? 1 : 0;
        }
    }
    // The reader takes a text without any element for a document that has ended.
    return FAILED(hr) ? failAtThisLine(hr) : sawStore ? S_OK : kInvalidData;
}

bool StoreFile::AddElement(std::size_t depth, const std::wstring& element,
                           AttributeMap attributes) {
    static constexpr const wchar_t* kElements[] = {L"store", L"section", L"entry", L"value"};
    if (depth >= std::size(kElements) || element != kElements[depth])
        return false;
    OwnedVariant probe;
    if (element == L"section") {
        Section section{Take(attributes, L"name"), {}, {}};
        const std::wstring key = section.name;
        if (m_sections.Find(key) || !TakeShape(attributes, section.shape))
            return false;
        m_sections.Add(key, std::move(section));
    } else if (element == L"entry") {
        auto& entries = m_sections.Last().entries;
        const std::wstring id = Take(attributes, L"id");
        Entry entry{TypedText(id, Take(attributes, L"idtype")), {}, {}};
        if (entries.Find(id) || !TakeShape(attributes, entry.shape) ||
            FAILED(entry.id.MakeVariant(probe)))
            return false;
        entries.Add(id, std::move(entry));
    } else if (element == L"value") {
        const std::wstring name = Take(attributes, L"name");
        Value value{TypedText(name, Take(attributes, L"nametype")), {}};
        const std::wstring text = Take(attributes, L"text");
        value.value = TypedText(text, Take(attributes, L"type"));
        if (FAILED(value.name.MakeVariant(probe)) || FAILED(value.value.MakeVariant(probe)))
            return false;
        m_sections.Last().entries.Last().values.Add(FoldedCase(name), std::move(value));
    }
    return attributes.empty();
}

std::string StoreFile::Text() const {
    std::string out = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<store>\n";
    for (const Section& section : m_sections) {
        out +=
            "  <section" + Attribute("name", section.name) + ShapeAttributes(section.shape) + ">\n";
        for (const Entry& entry : section.entries) {
            out += "    <entry" + TypedAttributes("id", "idtype", entry.id) +
                   ShapeAttributes(entry.shape) + ">\n";
            for (const Value& value : entry.values) {
                out += "      <value" + TypedAttributes("name", "nametype", value.name) +
                       TypedAttributes("text", "type", value.value) + "/>\n";
            }
            out += "    </entry>\n";
        }
        out += "  </section>\n";
    }
    return out + "</store>\n";
}

HRESULT StoreFile::Save() {
    if (!m_isChanged)
        return S_OK;
    const std::wstring newPath = m_path + L".new";
    {
        const FileHandle file(::CreateFileW(newPath.c_str(), GENERIC_WRITE, 0, nullptr,
                                            CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
        const std::string text = Text();
        DWORD written = 0;
        if (!file ||
            !::WriteFile(file.get(), text.data(), static_cast<DWORD>(text.size()), &written,
                         nullptr) ||
            !::FlushFileBuffers(file.get()))
            return LastError();
    }
    if (!::MoveFileExW(newPath.c_str(), m_path.c_str(),
                       MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
        const HRESULT hr = LastError();
        ::DeleteFileW(newPath.c_str());
        return hr;
    }
    m_isChanged = false;
    return S_OK;
}

const StoreFile::Entry* StoreFile::FindEntry(const std::wstring& section,
                                             const std::wstring& entry) const {
    const Section* const found = m_sections.Find(section);
    return found ? found->entries.Find(entry) : nullptr;
}

HRESULT StoreFile::Get(const std::wstring& section, const std::wstring& entry,
                       const std::wstring& name, OwnedVariant& value) const {
    const Entry* const found = FindEntry(section, entry);
    const Value* const item = found ? found->values.Find(FoldedCase(name)) : nullptr;
    return item ? item->value.MakeVariant(value) : kNotFound;
}

void StoreFile::Put(const std::wstring& section, const std::wstring& entry,
                    const std::wstring& name, const std::wstring& text) {
    Section* sectionItem = m_sections.Find(section);
    if (!sectionItem)
        sectionItem = &m_sections.Add(section, {section, {}, {}});
    Entry* entryItem = sectionItem->entries.Find(entry);
    if (!entryItem)
        entryItem = &sectionItem->entries.Add(entry, {TypedText(entry), {}, {}});
    const TypedText newValue(text);
    Value* const item = entryItem->values.Find(FoldedCase(name));
    if (!item)
        entryItem->values.Add(FoldedCase(name), {TypedText(name), newValue});
    else if (item->value == newValue)
        return;
    else
        item->value = newValue;
    m_isChanged = true;
}

HRESULT StoreFile::List(const std::wstring& section, OwnedVariant& answer) const {
    const Section* const found = m_sections.Find(section);
    std::vector<const TypedText*> ids;
    if (!found)
        return ResultShape().Make(ids, answer);
    for (const Entry& entry : found->entries)
        ids.push_back(&entry.id);
    return found->shape.Make(ids, answer);
}

HRESULT StoreFile::ListValues(const std::wstring& section, const std::wstring& entry,
                              OwnedVariant& answer) const {
    const Entry* const found = FindEntry(section, entry);
    if (!found)
        return kNotFound;
    std::vector<const TypedText*> pairs;
    for (const Value& value : found->values) {
        pairs.push_back(&value.name);
        pairs.push_back(&value.value);
    }
    return found->shape.Make(pairs, answer);
}

}  // namespace lab
