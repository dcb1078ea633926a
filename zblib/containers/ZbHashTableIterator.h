#pragma once

#include <zblib/containers/ZbHashTable.h>

/// An iteration over a hash table, in the order of ZbHashTable::next; any number may run at a time.
///
/// It borrows the table, which must outlive it. Values may change meanwhile; after an entry was removed or the
/// table grew, rewind it. In new code prefer range-for over the table. A whole iteration takes the time of one
/// look at each bucket and entry. Several threads may iterate over a table that does not change.
template <typename Key, typename Value>
class ZbHashTableIterator
{
public:
    explicit ZbHashTableIterator(const ZbHashTable<Key, Value>& table) noexcept : m_table(&table) {}

    void resetIter() noexcept
    {
        m_bucket = 0;
        m_item = nullptr;
    }

    /// Gives the next entry, or returns false at the end and starts again.
    bool next(Key& key, Value& value)
    {
        const auto* item = m_table->advance(m_bucket, m_item);
        if (!item)
            return false;
        key = item->key;
        value = item->value;
        return true;
    }

private:
    const ZbHashTable<Key, Value>* m_table;
    int m_bucket = 0;
    typename ZbHashTable<Key, Value>::Item* m_item = nullptr;
};
