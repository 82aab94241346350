// engine/store/hash_index.h: references by the hash of what they refer to, growing one bucket at a time.
//
// DESCRIPTION  Linear hashing: buckets of one cache line (tags and references, overflow by chaining), and a split
// pointer that moves on by one bucket whenever the load passes the bound, so no insert ever stalls. The index does not
// know keys: callers hand in a hash and, to look up, a predicate that says whether a reference is the one they want.
//
// COST    find, insert, erase: O(1), one or two cache lines beside what the predicate touches.
// MEMORY  seven to eight bytes per reference.
// THREADS one writer (REQUIRES the table's lock); find from any thread, inside readStable: a hit is a hit, a miss is
//         checked against a split that happened meanwhile.
#ifndef FIBDB_ENGINE_STORE_HASH_INDEX_H
#define FIBDB_ENGINE_STORE_HASH_INDEX_H

// The store's author completes this file: HashIndexState (arena-resident, zero is empty), class HashIndex with
//   template <class IsIt> Ref find(uint64_t hash, IsIt&& isIt) const;
//   void insert(uint64_t hash, Ref ref);   bool erase(uint64_t hash, Ref ref);
// and kMaxWriteBytes. Splitting needs hashes again: a callable Ref -> hash given at construction.

#endif
