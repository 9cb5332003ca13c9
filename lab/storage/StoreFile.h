// The store behind the stand-in component: sections of entries of named values, in an XML file.
#pragma once

#include <windows.h>

#include <deque>
#include <string>
#include <unordered_map>
#include <utility>

#include "lab/storage/ResultShape.h"
#include "lab/storage/TypedText.h"

namespace lab {

/// Items in the order in which they came, found by a key through a hash.
template <class Item>
class OrderedIndex {
public:
    /// A second item with the same key stays in the order, but the key then finds the newer one.
    Item& Add(const std::wstring& key, Item item) {
        byKey_[key] = items_.size();
        items_.push_back(std::move(item));
        return items_.back();
    }
    const Item* Find(const std::wstring& key) const {
        const auto found = byKey_.find(key);
        return found == byKey_.end() ? nullptr : &items_[found->second];
    }
    Item* Find(const std::wstring& key) {
        return const_cast<Item*>(std::as_const(*this).Find(key));
    }
    Item& Last() { return items_.back(); }
    auto begin() const { return items_.begin(); }
    auto end() const { return items_.end(); }

private:
    std::deque<Item> items_;
    std::unordered_map<std::wstring, size_t> byKey_;
};

using AttributeMap = std::unordered_map<std::wstring, std::wstring>;

/// One XML file, read whole by Open and held in memory until Save. Names of sections and entries
/// compare exactly, names of values without regard to case. An entry may hold a value name twice:
/// lists show both, look-ups find the later one.
class StoreFile {
public:
    /// Reads the file. ERROR_FILE_NOT_FOUND when there is none, the XML reader's error when it is
    /// no XML, ERROR_INVALID_DATA when it is no store (all as HRESULT). FailedLine tells where.
    HRESULT Open(const std::wstring& path);
    unsigned FailedLine() const { return failedLine_; }

    /// Writes the file if something changed: a new file beside it, complete on the disk, takes its
    /// place in one step. Whenever a run ends, the file is either the old one or the new one.
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
        ResultShape shape;
        OrderedIndex<Value> values;
    };
    struct Section {
        std::wstring name;
        ResultShape shape;
        OrderedIndex<Entry> entries;
    };

    bool AddElement(size_t depth, const std::wstring& element, AttributeMap attributes);
    const Entry* FindEntry(const std::wstring& section, const std::wstring& entry) const;
    std::string Text() const;

    std::wstring path_;
    unsigned failedLine_ = 0;
    bool isChanged_ = false;
    OrderedIndex<Section> sections_;
};

}  // namespace lab
