// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Reading a long recording on all cores. The file (up to the length it had when opened) is
// cut into pieces of a few megabytes at line ends; each piece is read on a thread of its own
// with a fresh reader into a partial result, and the partial results are merged on the
// calling thread in the file's order, as soon as each is done. Only a few pieces are read
// ahead of the merge, so memory stays flat whatever the file's length.
//
// The pieces depend only on the file, never on the number of threads, so the result is the
// same on any machine. A piece whose lines depend on the lines before it (a download's
// records, whose dates run on from the previous ones) or with more malformed lines than are
// kept for it is read again on the calling thread, in order.
#include "datafile/recording_reader.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace pa::datafile {

struct PieceOptions {
    // Threads to read with; 0 takes one per core.
    unsigned threads = 0;
    // The size of a piece; a file shorter than four pieces is read as one.
    std::uint64_t pieceBytes = std::uint64_t{8} << 20;
};

// What reading a recording in pieces calls. `start(i)` makes a fresh partial result for piece
// i; `take(i, entry)` hands it each line's entry (malformed ones too, numbered from the piece's
// first line), both on any thread;
// `merge(i, position)` folds piece i into the whole, on the calling thread in the file's order,
// with the bytes read so far, and returns false to stop; `problem` gets each malformed line
// with its line number, in order, on the calling thread.
struct PieceCallbacks {
    std::function<void(std::size_t)> start;
    std::function<void(std::size_t, const Entry&)> take;
    std::function<bool(std::size_t, std::uint64_t)> merge;
    std::function<void(const Entry&)> problem;
    // When given, offered each whole line of piece i before the reader, on any thread; true
    // when it took the line as a record (see readRecordingPart), which then makes no entry.
    std::function<bool(std::size_t, std::string_view)> offer;
};

// Reads the recording at `path` as above; returns "" or why the file cannot be read. Slots
// for the partial results of pieceSlots() pieces at a time are enough: piece i goes to slot
// i % pieceSlots(options).
std::string readInPieces(const std::string& path, int downloadYear, unsigned wanted,
                         const PieceOptions& options, const PieceCallbacks& callbacks);
std::size_t pieceSlots(const PieceOptions& options);

// The partial results of the pieces read at a time: piece i's is slots[i]. Each lies on cache
// lines of its own: threads that write neighbouring results for every line would otherwise keep
// taking the line they share from each other's cache (a fifth of the time of the statistics).
template <typename T> class PieceSlots {
  public:
    explicit PieceSlots(const PieceOptions& options, const T& initial = T{})
        : slots_(pieceSlots(options), Slot{initial}) {}
    T& operator[](std::size_t piece) { return slots_[piece % slots_.size()].value; }

  private:
    struct alignas(64) Slot {
        T value;
    };
    std::vector<Slot> slots_;
};

// The byte offsets where the pieces of the first `length` bytes of the file begin, then
// `length`: each piece after the first begins just after the first line end at or past a
// multiple of the piece size. {0, length} for a file shorter than four pieces.
std::vector<std::uint64_t> pieceCuts(const std::string& path, std::uint64_t length,
                                     std::uint64_t pieceBytes);

// Runs read(i) for i from 0 to count - 1 on the threads the options ask for (on the calling
// thread when one) and merge(i) on the calling thread in order, each as soon as read(i) is
// done; at most pieceSlots(options) pieces are read ahead of the merge. merge returns false
// to stop, which `stop` tells the reads too.
void runInOrder(std::size_t count, const PieceOptions& options, std::atomic<bool>& stop,
                const std::function<void(std::size_t)>& read,
                const std::function<bool(std::size_t)>& merge);

} // namespace pa::datafile
