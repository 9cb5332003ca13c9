// The store behind the stand-in component: sections of entries of named values, in an XML file.
#pragma once

#include <windows.h>

#include <deque>
#include <string>
#include <unordered_map>
#include <utility>

#include "lab/storage/StoreValue.h"

namespace lab {

/// Items in the order in which they came, found by a key through a hash.
template <class Item>
class OrderedIndex {
public:
    /// A second item with the same key stays in the order, but the key then finds the newer one.
    Item& Add(const std::wstring& key, Item item) {
        m_byKey[key] = m_items.size();
        m_items.push_back(std::move(item));
        return m_items.back();
    }
    const Item* Find(const std::wstring& key) const {
        const auto found = m_byKey.find(key);
        return found == m_byKey.end() ? nullptr : &m_items[found->second];
    }
    Item* Find(const std::wstring& key) {
        return const_cast<Item*>(std::as_const(*this).Find(key));
    }
    auto begin() const { return m_items.begin(); }
    auto end() const { return m_items.end(); }

private:
    std::deque<Item> m_items;
    std::unordered_map<std::wstring, std::size_t> m_byKey;
};

/// One XML file, read whole by Open and held in memory until Save. Names of sections and entries
/// compare exactly, names of values without regard to case. An entry may hold a value name twice:
/// lists show both, look-ups find the later one.
class StoreFile {
public:
    /// Reads the file: ERROR_FILE_NOT_FOUND when there is none, ERROR_INVALID_DATA when it is no
    /// store (both as HRESULT). Failure tells why and where.
    HRESULT Open(const std::wstring& path);
    const std::string& Failure() const { return m_failure; }

    /// Writes the file if something changed; whenever a run ends, it is the old one or the new one.
    HRESULT Save();

    /// HRESULT of ERROR_NOT_FOUND when the section, the entry or the value is missing.
    HRESULT Get(const std::wstring& section, const std::wstring& entry, const std::wstring& name,
                OwnedVariant& value) const;
    /// Makes what is missing on the way.
    void Put(const std::wstring& section, const std::wstring& entry, const std::wstring& name,
             const std::wstring& text);
    /// The identifiers of the entries; an empty list for a section that is missing.
    HRESULT List(const std::wstring& section, OwnedVariant& answer) const;
    /// Name, value, name, value, ...; ERROR_NOT_FOUND when the entry is missing.
    HRESULT ListValues(const std::wstring& section, const std::wstring& entry,
                       OwnedVariant& answer) const;

private:
    struct Value {
        TypedText name;
        TypedText value;
    };
    struct Entry {
        TypedText id;
        ListForm form;
        OrderedIndex<Value> values;
    };
    struct Section {
        std::wstring name;
        ListForm form;
        OrderedIndex<Entry> entries;
    };

    void Read(std::string& text);  // which it takes to pieces
    const Entry* FindEntry(const std::wstring& section, const std::wstring& entry) const;
    std::string Text() const;

    std::wstring m_path;
    std::string m_failure;
    bool m_isChanged = false;
    OrderedIndex<Section> m_sections;
};

}  // namespace lab
