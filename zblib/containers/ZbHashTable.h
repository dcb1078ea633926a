#pragma once

#include <zblib/containers/ZbHash.h>
#include <zblib/containers/ZbSmallArray.h>
#include <zblib/foundation/ZbMemory.h>
#include <zblib/foundation/ZbMemoryException.h>

#include <climits>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <memory>
#include <type_traits>
#include <utility>

template <typename Key, typename Value>
class ZbHashTableIterator;

/// A chained hash table.
///
/// Keys need zbhash(key) and ==; texts (const char*) are compared by their characters, borrowed, and must
/// outlive their entry. Values stay where they are until they are removed: pointers and references to them
/// survive insertions. Up to three entries need no memory besides their own. insert(), lookup(), operator[]
/// and remove() are O(1) on average, with up to two entries a bucket; the table never shrinks. What finds
/// no memory throws, and the table keeps what it had.
///
///     ZbHashTable<const char*, int> count(0);
///     ++count["apple"];
///     for (auto [fruit, n] : count)
///         print(fruit, n);
///
/// The order of all iterations is that of the buckets, in each the latest entry first; it depends on the
/// history of the table, not on addresses. Reading an unchanging table from several threads is safe, except
/// for next().
template <typename Key, typename Value>
class ZbHashTable
{
    static constexpr bool isText = std::is_same_v<Key, const char*> || std::is_same_v<Key, char*>;
    // Of keys whose contents lie elsewhere in memory a fingerprint is kept: it tells most of them apart, and
    // says where they belong when the table grows, without going there.
    static constexpr bool isKept = isText || !std::is_trivially_copyable_v<Key>;

    // What is computed of a key once for each operation; the fingerprint is the hash, except of texts.
    using Probe = ZbDetail::KeyHash;

    struct NoFingerprint {
        explicit constexpr NoFingerprint(unsigned int) noexcept {}
    };

    struct Item : ZbAllocated {
        // What walking along a chain reads comes first: it lies in one cache line.
        Item* next;  // in its bucket
        [[no_unique_address]] std::conditional_t<isKept, unsigned int, NoFingerprint> fingerprint;
        Value value;
        Key key;
    };

    template <typename EntryValue>
    class EntryIterator;

public:
    /// What the iterators give: references into the table.
    template <typename EntryValue>
    struct Entry {
        const Key& key;
        EntryValue& value;
    };
    using iterator = EntryIterator<Value>;
    using const_iterator = EntryIterator<const Value>;

    /// defaultValue is what operator[] gives to new keys.
    explicit ZbHashTable(const Value& defaultValue = Value());
    ZbHashTable(const ZbHashTable& other);
    /// Takes the entries; other is empty afterwards.
    ZbHashTable(ZbHashTable&& other);
    ~ZbHashTable() { deleteItems(takeItems()); }

    /// Keeps the buckets that this table has grown.
    ZbHashTable& operator=(const ZbHashTable& other);
    ZbHashTable& operator=(ZbHashTable&& other);
    void swap(ZbHashTable& other) noexcept;
    friend void swap(ZbHashTable& a, ZbHashTable& b) noexcept { a.swap(b); }

    int size() const noexcept { return m_numEntries; }
    bool isEmpty() const noexcept { return m_numEntries == 0; }
    /// A power of two.
    int numBuckets() const noexcept { return m_mask + 1; }

    /// Returns 1 for a new key; of a key that is there it replaces the value and returns 0.
    int insert(const Key& key, const Value& value);
    /// The value of key, or null.
    Value* lookup(const Key& key);
    const Value* lookup(const Key& key) const;
    bool contains(const Key& key) const { return lookup(key) != nullptr; }
    /// The value of key, which is added with the default value where it is absent.
    Value& operator[](const Key& key);
    /// Returns whether key was there.
    bool remove(const Key& key);
    /// Removes all entries; the number of buckets stays.
    void removeAll() { deleteItems(takeItems()); }

    /// The iteration that is built in: gives the next entry, or returns false at the end and starts again.
    ///
    /// The table may be changed while it runs. Entries removed by then are not given, those added may be; an
    /// insertion that makes the table grow may let entries appear twice, and none is lost.
    bool next(Key& key, Value& value);

    /// Iterators stay valid until their entry is removed or the table grows.
    iterator begin() noexcept { return iterator(m_buckets.data(), m_buckets.data() + numBuckets()); }
    const_iterator begin() const noexcept
    {
        return const_iterator(m_buckets.data(), m_buckets.data() + numBuckets());
    }
    iterator end() noexcept { return iterator(); }
    const_iterator end() const noexcept { return const_iterator(); }

private:
    friend class ZbHashTableIterator<Key, Value>;

    static Probe probeOf(const Key& key);
    static bool holds(const Item& item, const Key& key, Probe probe);
    static bool hasHashBit(const Item& item, unsigned int bit);
    static void deleteItems(Item* list);

    Item* find(const Key& key, Probe probe) const;
    Item* add(const Key& key, const Value& value, Probe probe);
    Item* advance(int& bucket, Item*& item) const;
    Item* takeItems() noexcept;
    void rebuildTable() noexcept;

    int m_mask = 1;        // number of buckets - 1
    int m_numEntries = 0;  // at most 2 m_mask + 1
    ZbSmallArray<Item*, 2> m_buckets;
    // What next() gives: m_iterItem, and after its chain the buckets behind m_iterBucket, which holds it.
    // Null stands for the first item of m_iterBucket, whichever that is by then.
    int m_iterBucket = 0;  // in [0, number of buckets]
    Item* m_iterItem = nullptr;
    Value m_defaultValue;
};

// Items do not know their table.
template <typename Key, typename Value>
struct ZbIsRelocatable<ZbHashTable<Key, Value>> : ZbIsRelocatable<Value> {
};

// ---- mechanics

/// Goes through the buckets in order, and down the chain of each. Borrows the table.
template <typename Key, typename Value>
template <typename EntryValue>
class ZbHashTable<Key, Value>::EntryIterator
{
public:
    using value_type = Entry<EntryValue>;
    using reference = value_type;
    using difference_type = std::ptrdiff_t;
    using iterator_concept = std::forward_iterator_tag;
    using iterator_category = std::input_iterator_tag;  // all that the older concept allows: * gives a value

    EntryIterator() noexcept = default;
    EntryIterator(Item* const* bucket, Item* const* end) noexcept
        : m_bucket(bucket), m_end(end), m_item(*bucket)
    {
        skipEmptyBuckets();
    }

    reference operator*() const noexcept { return {m_item->key, m_item->value}; }
    EntryIterator& operator++() noexcept
    {
        m_item = m_item->next;
        skipEmptyBuckets();
        return *this;
    }
    EntryIterator operator++(int) noexcept
    {
        EntryIterator old = *this;
        ++*this;
        return old;
    }
    friend bool operator==(const EntryIterator& a, const EntryIterator& b) noexcept
    {
        return a.m_item == b.m_item;
    }

private:
    void skipEmptyBuckets() noexcept
    {
        while (!m_item && ++m_bucket != m_end)
            m_item = *m_bucket;
    }

    Item* const* m_bucket = nullptr;
    Item* const* m_end = nullptr;
    Item* m_item = nullptr;  // null at the end
};

template <typename Key, typename Value>
ZbHashTable<Key, Value>::ZbHashTable(const Value& defaultValue) : m_buckets(2), m_defaultValue(defaultValue)
{
    m_buckets[0] = nullptr;
    m_buckets[1] = nullptr;
}

template <typename Key, typename Value>
ZbHashTable<Key, Value>::ZbHashTable(const ZbHashTable& other) : ZbHashTable(other.m_defaultValue)
{
    for (const auto [key, value] : other)
        add(key, value, probeOf(key));
}

template <typename Key, typename Value>
ZbHashTable<Key, Value>::ZbHashTable(ZbHashTable&& other) : ZbHashTable(other.m_defaultValue)
{
    swap(other);
}

template <typename Key, typename Value>
ZbHashTable<Key, Value>& ZbHashTable<Key, Value>::operator=(const ZbHashTable& other)
{
    if (this == &other)
        return *this;
    // Deleted last: other may lie in one of the values.
    const std::unique_ptr<Item, decltype([](Item* list) { deleteItems(list); })> old(takeItems());
    for (const auto [key, value] : other)
        add(key, value, probeOf(key));
    m_defaultValue = other.m_defaultValue;
    return *this;
}

template <typename Key, typename Value>
ZbHashTable<Key, Value>& ZbHashTable<Key, Value>::operator=(ZbHashTable&& other)
{
    ZbHashTable taken(std::move(other));
    swap(taken);
    return *this;
}

template <typename Key, typename Value>
void ZbHashTable<Key, Value>::swap(ZbHashTable& other) noexcept
{
    using std::swap;
    swap(m_mask, other.m_mask);
    swap(m_numEntries, other.m_numEntries);
    swap(m_buckets, other.m_buckets);
    swap(m_iterBucket, other.m_iterBucket);
    swap(m_iterItem, other.m_iterItem);
    swap(m_defaultValue, other.m_defaultValue);
}

template <typename Key, typename Value>
int ZbHashTable<Key, Value>::insert(const Key& key, const Value& value)
{
    const Probe probe = probeOf(key);
    if (Item* item = find(key, probe)) {
        item->value = value;
        return 0;
    }
    add(key, value, probe);
    return 1;
}

template <typename Key, typename Value>
Value* ZbHashTable<Key, Value>::lookup(const Key& key)
{
    Item* item = find(key, probeOf(key));
    return item ? &item->value : nullptr;
}

template <typename Key, typename Value>
const Value* ZbHashTable<Key, Value>::lookup(const Key& key) const
{
    const Item* item = find(key, probeOf(key));
    return item ? &item->value : nullptr;
}

template <typename Key, typename Value>
Value& ZbHashTable<Key, Value>::operator[](const Key& key)
{
    const Probe probe = probeOf(key);
    Item* item = find(key, probe);
    return item ? item->value : add(key, m_defaultValue, probe)->value;
}

template <typename Key, typename Value>
bool ZbHashTable<Key, Value>::remove(const Key& key)
{
    const Probe probe = probeOf(key);
    for (Item** link = &m_buckets.data()[probe.hash & unsigned(m_mask)]; *link; link = &(*link)->next) {
        Item* item = *link;
        if (!holds(*item, key, probe))
            continue;
        if (m_iterItem == item) {
            m_iterItem = item->next;
            m_iterBucket += m_iterItem ? 0 : 1;
        }
        *link = item->next;
        --m_numEntries;
        delete item;
        return true;
    }
    return false;
}

template <typename Key, typename Value>
bool ZbHashTable<Key, Value>::next(Key& key, Value& value)
{
    const Item* item = advance(m_iterBucket, m_iterItem);
    if (!item)
        return false;
    key = item->key;
    value = item->value;
    return true;
}

template <typename Key, typename Value>
inline typename ZbHashTable<Key, Value>::Probe ZbHashTable<Key, Value>::probeOf(const Key& key)
{
    if constexpr (isText) {
        return ZbDetail::hashText(key);
    } else {
        const unsigned int hash = zbhash(key);
        return {hash, hash};
    }
}

template <typename Key, typename Value>
inline bool ZbHashTable<Key, Value>::holds(const Item& item, const Key& key, [[maybe_unused]] Probe probe)
{
    if constexpr (isKept) {
        if (item.fingerprint != probe.fingerprint)
            return false;
    }
    if constexpr (isText)
        return std::strcmp(item.key, key) == 0;
    else
        return item.key == key;
}

template <typename Key, typename Value>
inline bool ZbHashTable<Key, Value>::hasHashBit(const Item& item, unsigned int bit)
{
    if constexpr (isKept) {
        // A fingerprint of a text holds only the low bits of the hash.
        if (!isText || bit < 1U << ZbDetail::hashBitsInFingerprint)
            return (item.fingerprint & bit) != 0;
    }
    return (zbhash(item.key) & bit) != 0;
}

template <typename Key, typename Value>
void ZbHashTable<Key, Value>::deleteItems(Item* list)
{
    while (list) {
        Item* item = list;
        list = item->next;
        delete item;
    }
}

template <typename Key, typename Value>
inline typename ZbHashTable<Key, Value>::Item* ZbHashTable<Key, Value>::find(const Key& key,
                                                                             Probe probe) const
{
    Item* item = m_buckets.data()[probe.hash & unsigned(m_mask)];
    if constexpr (std::is_scalar_v<Key> && !isText) {
        if (!item)
            return nullptr;
        // Whether the first item is the one cannot be predicted; without a branch the next lookup need not
        // wait for it to be read.
        Item* const firstOrSecond[] = {item->next, item};
        item = firstOrSecond[item->key == key ? 1 : 0];
    }
    while (item && !holds(*item, key, probe))
        item = item->next;
    return item;
}

// Adds a key that is not there. Memory comes first: where there is none, the table stays as it was.
template <typename Key, typename Value>
typename ZbHashTable<Key, Value>::Item* ZbHashTable<Key, Value>::add(const Key& key, const Value& value,
                                                                     Probe probe)
{
    std::unique_ptr<Item> item(
        new Item{{}, nullptr, decltype(Item::fingerprint)(probe.fingerprint), value, key});
    const bool grows = m_numEntries == 2 * m_mask + 1;
    if (grows) {
        if (m_numEntries == INT_MAX)
            throw ZbMemoryException();
        m_buckets.resize(2 * (m_mask + 1));
    }
    Item*& head = m_buckets.data()[probe.hash & unsigned(m_mask)];
    item->next = head;
    head = item.release();
    ++m_numEntries;
    Item* added = head;
    if (grows)
        rebuildTable();
    return added;
}

// The item that an iteration gives next, and where it goes on; null at the end, where it starts again.
template <typename Key, typename Value>
typename ZbHashTable<Key, Value>::Item* ZbHashTable<Key, Value>::advance(int& bucket, Item*& item) const
{
    for (; !item; bucket += item ? 0 : 1) {
        if (bucket > m_mask) {
            bucket = 0;
            return nullptr;
        }
        item = m_buckets[bucket];
    }
    Item* found = item;
    item = found->next;
    bucket += item ? 0 : 1;
    return found;
}

// Empties the table and returns its items as one list.
template <typename Key, typename Value>
typename ZbHashTable<Key, Value>::Item* ZbHashTable<Key, Value>::takeItems() noexcept
{
    Item* list = nullptr;
    for (int bucket = 0; m_numEntries > 0; ++bucket) {
        while (Item* item = m_buckets[bucket]) {
            m_buckets[bucket] = item->next;
            item->next = list;
            list = item;
            --m_numEntries;
        }
    }
    m_iterBucket = 0;
    m_iterItem = nullptr;
    return list;
}

// Doubles the number of buckets; there is memory for their heads already.
//
// The rule is to visit the old buckets in order, and each chain from its head, and to put every item at the
// head of its new bucket. One more bit of the hash decides now, so bucket b shares its items between the new
// buckets b and b + old number: each pair depends on one old chain alone, and the heads are rebuilt in place.
template <typename Key, typename Value>
void ZbHashTable<Key, Value>::rebuildTable() noexcept
{
    const int oldBuckets = m_mask + 1;
    Item** heads = m_buckets.data();
    for (int bucket = 0; bucket < oldBuckets; ++bucket) {
        // Items lie anywhere in memory: where they are too many for a cache, fetch those of the buckets ahead,
        // link by link.
        constexpr int step = 8;
        if (oldBuckets >= 4096 && bucket + 3 * step < oldBuckets) {
            __builtin_prefetch(heads[bucket + 3 * step]);
            if (const Item* first = heads[bucket + 2 * step])
                __builtin_prefetch(first->next);
            if (const Item* first = heads[bucket + step]; first && first->next)
                __builtin_prefetch(first->next->next);
        }
        Item* item = heads[bucket];
        Item* halves[2] = {nullptr, nullptr};
        while (item) {
            Item* following = item->next;
            Item*& head = halves[hasHashBit(*item, unsigned(oldBuckets)) ? 1 : 0];
            item->next = head;
            head = item;
            item = following;
        }
        heads[bucket] = halves[0];
        heads[bucket + oldBuckets] = halves[1];
    }
    m_mask = 2 * m_mask + 1;
    // The bucket that an iteration was in has a new order: it is given again from its start.
    m_iterItem = nullptr;
}
