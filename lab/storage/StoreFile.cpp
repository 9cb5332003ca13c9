#include "lab/storage/StoreFile.h"

#include <algorithm>
#include <boost/property_tree/detail/rapidxml.hpp>
#include <stdexcept>

#include "lab/journal/Environment.h"
#include "lab/journal/Text.h"

namespace lab {
namespace {

// The parser of Boost.PropertyTree without its tree, which takes seconds for 100,000 clients.
namespace xml = boost::property_tree::detail::rapidxml;
using Node = xml::xml_node<char>;

constexpr HRESULT kNotFound = static_cast<HRESULT>(0x80070490);     // ERROR_NOT_FOUND
constexpr HRESULT kInvalidData = static_cast<HRESULT>(0x8007000D);  // ERROR_INVALID_DATA

HRESULT LastError() {
    return HRESULT_FROM_WIN32(::GetLastError());
}

std::wstring FoldedCase(std::wstring name) {
    ::CharUpperBuffW(name.data(), static_cast<DWORD>(name.size()));
    return name;
}

[[noreturn]] void Fail(const Node& node, const std::string& what) {
    const auto* const name = node.first_attribute();
    throw std::runtime_error(node.name() + std::string(" ") + (name ? name->value() : "") + ": " +
                             what);
}

/// The attributes of one element. Each is taken once; any attribute not taken is an error.
class Attributes {
public:
    explicit Attributes(const Node& node) : m_node(node) {}
    std::wstring Take(const char* name) {
        const auto* const found = m_node.first_attribute(name);
        if (!found)
            return {};
        ++m_taken;
        auto value = Unescape(FromUtf8(found->value()));
        if (!value)
            Fail(m_node, std::string("broken escape in ") + name);
        return *std::move(value);
    }
    TypedText TakeTyped(const char* name, const char* typeName) {
        TypedText text{Take(name), Take(typeName)};
        OwnedVariant probe;
        if (!text.typeWord.empty() && FAILED(text.MakeVariant(probe)))
            Fail(m_node, std::string(name) + " does not fit its type");
        return text;
    }
    ListForm TakeForm() {
        ListForm form{Take("result"), 0};
        const std::wstring lower = Take("lower");
        const auto number = ParseNumber(lower.empty() ? L"0" : lower, 999999);
        if (!number || !form.IsKnown())
            Fail(m_node, "result or lower is not known");
        form.lower = static_cast<LONG>(*number);
        return form;
    }
    void ExpectNone() {
        for (const auto* at = m_node.first_attribute(); at; at = at->next_attribute())
            if (m_taken-- == 0)
                Fail(m_node, "an attribute is not known, or there twice");
    }

private:
    const Node& m_node;
    int m_taken = 0;
};

/// Calls `read` for each child element. Anything but elements of this name is an error.
template <class Read>
void ForEach(const Node& parent, const char* name, const Read& read) {
    for (const Node* node = parent.first_node(); node; node = node->next_sibling()) {
        if (node->type() != xml::node_element || name != std::string(node->name()))
            Fail(*node, std::string("not expected here, only ") + name);
        Attributes attributes(*node);
        read(*node, attributes);
        attributes.ExpectNone();
    }
}

constexpr const char* kEntities[] = {"&amp;", "&lt;", "&gt;", "&quot;"};

std::string Attribute(const char* name, const std::wstring& text) {
    std::string out = std::string(" ") + name + "=\"";
    for (const char character : Escape(text)) {
        const std::size_t entity = std::string_view("&<>\"").find(character);
        out += entity < std::size(kEntities) ? kEntities[entity] : std::string(1, character);
    }
    return out + '"';
}

std::string TypedAttributes(const char* name, const char* typeName, const TypedText& text) {
    return Attribute(name, text.text) +
           (text.typeWord.empty() ? "" : Attribute(typeName, text.typeWord));
}

std::string FormAttributes(const ListForm& form) {
    return (form.result.empty() ? "" : Attribute("result", form.result)) +
           (form.lower == 0 ? "" : Attribute("lower", std::to_wstring(form.lower)));
}

}  // namespace

HRESULT StoreFile::Open(const std::wstring& path) {
    *this = StoreFile();
    m_path = path;
    if (::GetFileAttributesW(path.c_str()) == INVALID_FILE_ATTRIBUTES)
        return LastError();
    try {
        std::string text = FileText(path);
        Read(text);
        return S_OK;
    } catch (const std::exception& error) {
        m_failure = error.what();
        return kInvalidData;
    }
}

void StoreFile::Read(std::string& text) {
    const int length = static_cast<int>(text.size());
    if (!::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), length, nullptr, 0))
        throw std::runtime_error("empty, or not UTF-8");
    xml::xml_document<char> document;
    try {
        document.parse<xml::parse_validate_closing_tags | xml::parse_trim_whitespace>(text.data());
    } catch (const xml::parse_error& error) {
        const auto line = std::count(text.data(), error.where<char>(), '\n') + 1;
        throw std::runtime_error("line " + std::to_string(line) + ": " + error.what());
    }
    const Node* const root = document.first_node();
    if (!root || root->next_sibling())
        throw std::runtime_error("not one element");
    ForEach(document, "store", [this](const Node& store, Attributes&) {
        ForEach(store, "section", [this](const Node& sectionNode, Attributes& attributes) {
            const std::wstring name = attributes.Take("name");
            if (m_sections.Find(name))
                Fail(sectionNode, "there twice");
            Section& section = m_sections.Add(name, {name, attributes.TakeForm(), {}});
            ForEach(sectionNode, "entry", [&section](const Node& entryNode, Attributes& of) {
                const TypedText id = of.TakeTyped("id", "idtype");
                if (section.entries.Find(id.text))
                    Fail(entryNode, "there twice");
                Entry& entry = section.entries.Add(id.text, {id, of.TakeForm(), {}});
                ForEach(entryNode, "value", [&entry](const Node& node, Attributes& value) {
                    const TypedText valueName = value.TakeTyped("name", "nametype");
                    entry.values.Add(FoldedCase(valueName.text),
                                     {valueName, value.TakeTyped("text", "type")});
                    ForEach(node, "nothing", [](const Node&, Attributes&) {});
                });
            });
        });
    });
}

std::string StoreFile::Text() const {
    std::string out = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<store>\n";
    for (const Section& section : m_sections) {
        out +=
            "  <section" + Attribute("name", section.name) + FormAttributes(section.form) + ">\n";
        for (const Entry& entry : section.entries) {
            out += "    <entry" + TypedAttributes("id", "idtype", entry.id) +
                   FormAttributes(entry.form) + ">\n";
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
    if (m_isChanged && !ReplaceFile(m_path, Text()))
        return LastError();
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
        entryItem = &sectionItem->entries.Add(entry, {{entry, {}}, {}, {}});
    const TypedText newValue{text, {}};
    Value* const item = entryItem->values.Find(FoldedCase(name));
    if (!item)
        entryItem->values.Add(FoldedCase(name), {{name, {}}, newValue});
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
        return ListForm().Make(ids, answer);
    for (const Entry& entry : found->entries)
        ids.push_back(&entry.id);
    return found->form.Make(ids, answer);
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
    return found->form.Make(pairs, answer);
}

}  // namespace lab
