// The table behind the texture and model managers: records addressed by int handles that never move.
// Entry 0 is the manager's generated fallback and is never counted, released or collected. Holders
// acquire with Set and give back with Release; the last release schedules the entry, and Collect,
// which looks at one entry per frame, frees it 30 seconds later unless it was acquired again.
//
// A Record has the fields name, releaseTime, refCount and persistent. The Policy says when an entry
// is free (static bool IsFree(const Record&)), gives back what a record holds and blanks it, keeping
// persistent (static void Free(Record&)), and whether a name lookup may match a free entry
// (static constexpr bool kLookupMatchesFree).
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

// Backslashes to '/', runs of separators collapsed, one leading "./" removed.
std::string NormalizeAssetName(const std::string& name);

// Milliseconds on the clock that release deadlines are measured on: SDL_GetTicks64 unless a test
// installs its own source.
typedef uint64_t (*ResourceTickSource)();
extern ResourceTickSource g_resourceTicks;

// Grace period between the last release and the collector freeing the entry, so that a screen that
// is closed and reopened does not reload its images.
inline constexpr uint64_t kResourceReleaseDelayMs = 30000;

template <typename Record, typename Policy>
class HandleTable {
public:
    // Null for a negative or out-of-range handle.
    Record* Get(int handle) {
        return handle >= 0 && static_cast<size_t>(handle) < entries.size() ? &entries[handle] : nullptr;
    }
    // Entry 0 for a bad handle; null while the table is empty.
    Record* GetOrFallback(int handle) {
        if (entries.empty()) {
            return nullptr;
        }
        Record* record = Get(handle);
        return record ? record : &entries[0];
    }
    // The handles that may be released, unloaded and collected: 0 < handle < size.
    bool IsCounted(int handle) const { return handle > 0 && static_cast<size_t>(handle) < entries.size(); }

    // The first entry from 1 holding that (normalised) name; 0 if none.
    int Find(const std::string& name) const {
        for (size_t i = 1; i < entries.size(); ++i) {
            if ((Policy::kLookupMatchesFree || !Policy::IsFree(entries[i])) && entries[i].name == name) {
                return static_cast<int>(i);
            }
        }
        return 0;
    }

    // Puts a new record into the first free entry from 1, giving back what that entry still held,
    // or appends it. Returns its handle.
    int Place(Record&& record) {
        for (size_t i = 1; i < entries.size(); ++i) {
            if (Policy::IsFree(entries[i])) {
                Policy::Free(entries[i]);
                entries[i] = std::move(record);
                return static_cast<int>(i);
            }
        }
        entries.push_back(std::move(record));
        return static_cast<int>(entries.size() - 1);
    }

    // Points the holder's handle at the entry called name, loading it with load(name) -> handle when
    // it differs from what the holder has; the new entry gains one reference and its release is off.
    template <typename Load>
    void Set(const std::string& name, int& handle, Load load) {
        const Record* current = Get(handle);
        if (current && current->name == NormalizeAssetName(name)) {
            return;
        }
        Release(handle);
        handle = load(name);
        if (handle >= 1) {
            entries[handle].refCount++;
            entries[handle].releaseTime = 0;
        }
    }

    // Drops one reference (clamped at 0); at 0 the entry is scheduled for collection.
    void Release(int handle) {
        if (!IsCounted(handle)) {
            return;
        }
        Record& record = entries[handle];
        record.refCount--;
        if (record.refCount > 0) {
            return;
        }
        record.refCount = 0;
        record.releaseTime = g_resourceTicks() + kResourceReleaseDelayMs;
    }

    void Unload(int handle) {
        if (IsCounted(handle)) {
            Policy::Free(entries[handle]);
        }
    }

    // One step of the collector: frees the entry at the cursor if it is unheld, not persistent and
    // past its deadline, then moves the cursor on, wrapping to 1.
    void Collect() {
        if (entries.size() < 2) {
            return;
        }
        if (cursor >= entries.size()) {
            cursor = 1;
        }
        Record& record = entries[cursor];
        if (!record.persistent && record.refCount < 1 && record.releaseTime != 0 &&
            g_resourceTicks() >= record.releaseTime) {
            Policy::Free(record);
        }
        ++cursor;
    }

    // Frees every entry, entry 0 included, and empties the table.
    void Clear() {
        for (Record& record : entries) {
            Policy::Free(record);
        }
        entries.clear();
        cursor = 1;
    }

    std::vector<Record> entries;

private:
    size_t cursor = 1;
};
