// The store of the stand-in component: sections of entries of named values, in an XML file.
#pragma once

#include <windows.h>

#include <deque>
#include <string>
#include <unordered_map>
#include <utility>

#include "lab/storage/StoreValue.h"

namespace lab {

/// Items in insertion order, with a hash index by key.
template <class Item>
class OrderedIndex {
public:
    /// Items of one key all stay in the order; the key finds the newest.
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

/// One XML file, read whole by Open and held in memory until Save. Only value names ignore case;
/// names of sections and entries must match exactly. An entry may have a value name twice: lists
/// show both values, look-ups find the later one.
class StoreFile {
public:
    /// Reads the file. Returns ERROR_FILE_NOT_FOUND if it is missing, ERROR_INVALID_DATA if it is
    /// not a store (both as HRESULT). Failure() then has the reason and the place.
    HRESULT Open(const std::wstring& path);
    const std::string& Failure() const { return m_failure; }

    /// Writes the file if something changed. A killed run leaves the old or the new file, complete.
    HRESULT Save();

    /// Returns ERROR_NOT_FOUND (as HRESULT) if the section, entry or value is missing.
    HRESULT Get(const std::wstring& section, const std::wstring& entry, const std::wstring& name,
                OwnedVariant& value) const;
    /// Creates a missing section, entry or value.
    void Put(const std::wstring& section, const std::wstring& entry, const std::wstring& name,
             const std::wstring& text);
    /// Lists the ids of the entries; a missing section has an empty list.
    HRESULT List(const std::wstring& section, OwnedVariant& answer) const;
    /// Lists name, value, name, value, ... Returns ERROR_NOT_FOUND if the entry is missing.
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

    void Read(std::string& text);  // overwrites the text
    const Entry* FindEntry(const std::wstring& section, const std::wstring& entry) const;
    std::string Text() const;

    std::wstring m_path;
    std::string m_failure;
    bool m_isChanged = false;
    OrderedIndex<Section> m_sections;
};

}  // namespace lab
