// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "datafile/recording_pieces.h"

#include "datafile/data_folder.h"
#include "plot/line_reader.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstring>
#include <fstream>
#include <mutex>
#include <thread>
#include <vector>

namespace pa::datafile {
namespace {

// Malformed lines kept per piece until its turn; a piece with more is read again in order, so
// that a file of nothing but bad lines costs no memory.
constexpr std::size_t kKeptProblems = 256;
constexpr unsigned kMostThreads = 16;

unsigned threadCount(const PieceOptions& options) {
    const unsigned n = options.threads ? options.threads : std::thread::hardware_concurrency();
    return std::clamp(n, 1u, kMostThreads);
}

} // namespace

std::vector<std::uint64_t> pieceCuts(const std::string& path, std::uint64_t length,
                                     std::uint64_t pieceBytes) {
    std::vector<std::uint64_t> cuts{0};
    pieceBytes = std::max<std::uint64_t>(pieceBytes, 1);
    if (length >= 4 * pieceBytes) {
        std::ifstream in(pathFromUtf8(path), std::ios::binary);
        std::vector<char> block(64 * 1024);
        for (std::uint64_t at = pieceBytes; in && at < length; at += pieceBytes) {
            std::uint64_t from = std::max(at - 1, cuts.back());
            std::uint64_t cut = length;
            in.clear();
            in.seekg(static_cast<std::streamoff>(from));
            while (from < length && in) {
                in.read(block.data(), static_cast<std::streamsize>(
                                          std::min<std::uint64_t>(block.size(), length - from)));
                const auto got = static_cast<std::size_t>(in.gcount());
                if (got == 0)
                    break;
                if (const auto* nl =
                        static_cast<const char*>(std::memchr(block.data(), '\n', got))) {
                    cut = from + static_cast<std::uint64_t>(nl - block.data()) + 1;
                    break;
                }
                from += got;
            }
            if (cut >= length)
                break;
            if (cut > cuts.back())
                cuts.push_back(cut);
        }
    }
    cuts.push_back(length);
    return cuts;
}

namespace {

// What a piece read on its own leaves for its turn.
struct PieceState {
    std::uint64_t lines = 0;
    std::vector<Entry> problems; // with the piece's own line numbers
    bool redo = false;
    std::string error;
};

} // namespace

std::size_t pieceSlots(const PieceOptions& options) {
    return threadCount(options) + 2;
}

std::string readInPieces(const std::string& path, int downloadYear, unsigned wanted,
                         const PieceOptions& options, const PieceCallbacks& callbacks) {
    if (std::string problem = unreadable(path); !problem.empty())
        return problem;
    const std::int64_t length = plot::fileLength(path);
    if (length < 0)
        return "cannot read " + path;
    const std::vector<std::uint64_t> cuts =
        pieceCuts(path, static_cast<std::uint64_t>(length), options.pieceBytes);
    const std::size_t count = cuts.size() - 1;
    const std::size_t slots = pieceSlots(options);
    std::vector<PieceState> states(slots);
    std::atomic<bool> stop{false};

    auto offerOf = [&](std::size_t i) -> std::function<bool(std::string_view)> {
        if (!callbacks.offer)
            return {};
        return [&callbacks, i](std::string_view line) { return callbacks.offer(i, line); };
    };
    auto readPiece = [&](std::size_t i) {
        PieceState& st = states[i % slots];
        st.lines = 0;
        st.problems.clear();
        st.redo = false;
        st.error.clear();
        callbacks.start(i);
        RecordingReader reader(downloadYear, wanted);
        st.error = readRecordingPart(
            path, cuts[i], cuts[i + 1], reader,
            [&](const Entry& e, std::uint64_t) {
                callbacks.take(i, e);
                if (e.kind == EntryKind::Malformed) {
                    if (st.problems.size() == kKeptProblems)
                        return !(st.redo = true);
                    Entry kept;
                    kept.kind = e.kind;
                    kept.lineNumber = e.lineNumber;
                    kept.timeMs = e.timeMs;
                    kept.problem = e.problem;
                    st.problems.push_back(std::move(kept));
                }
                return !stop.load(std::memory_order_relaxed);
            },
            offerOf(i));
        st.lines = reader.lines();
        st.redo = st.redo || reader.sawDownload();
    };

    // In order, on the calling thread: the lines before a piece are known only now.
    RecordingReader inOrder(downloadYear, wanted);
    auto mergePiece = [&](std::size_t i) -> std::string {
        PieceState& st = states[i % slots];
        if (!st.error.empty())
            return st.error;
        if (st.redo) {
            callbacks.start(i);
            const std::uint64_t before = inOrder.lines();
            std::string error = readRecordingPart(
                path, cuts[i], cuts[i + 1], inOrder,
                [&](const Entry& e, std::uint64_t) {
                    Entry local = e; // numbered from the piece's first line, as on a thread
                    local.lineNumber -= before;
                    callbacks.take(i, local);
                    if (e.kind == EntryKind::Malformed && callbacks.problem)
                        callbacks.problem(e);
                    return true;
                },
                offerOf(i));
            if (!error.empty())
                return error;
        } else {
            for (Entry& e : st.problems) {
                e.lineNumber += inOrder.lines();
                if (callbacks.problem)
                    callbacks.problem(e);
            }
            inOrder.skipLines(st.lines);
        }
        st.problems.clear();
        st.problems.shrink_to_fit();
        if (!callbacks.merge(i, cuts[i + 1]))
            stop = true;
        return "";
    };

    std::string error;
    runInOrder(count, options, stop, readPiece, [&](std::size_t i) {
        error = mergePiece(i);
        return error.empty() && !stop;
    });
    return error;
}

void runInOrder(std::size_t count, const PieceOptions& options, std::atomic<bool>& stop,
                const std::function<void(std::size_t)>& read,
                const std::function<bool(std::size_t)>& merge) {
    const unsigned threads = count > 1 ? threadCount(options) : 1;
    if (threads == 1) {
        for (std::size_t i = 0; i < count && !stop; ++i) {
            read(i);
            if (!merge(i))
                stop = true;
        }
        return;
    }
    const std::size_t slots = pieceSlots(options);
    std::vector<char> done(slots, 0);
    std::mutex mutex;
    std::condition_variable changed;
    std::size_t next = 0, merged = 0;
    auto worker = [&] {
        std::unique_lock lock(mutex);
        while (!stop && next < count) {
            if (next >= merged + slots) {
                changed.wait(lock);
                continue;
            }
            const std::size_t i = next++;
            lock.unlock();
            read(i);
            lock.lock();
            done[i % slots] = 1;
            changed.notify_all();
        }
    };
    std::vector<std::thread> pool;
    for (unsigned t = 0; t < threads; ++t)
        pool.emplace_back(worker);
    for (std::size_t i = 0; i < count && !stop; ++i) {
        {
            std::unique_lock lock(mutex);
            changed.wait(lock, [&] { return done[i % slots] != 0; });
            done[i % slots] = 0;
        }
        const bool more = merge(i);
        std::lock_guard lock(mutex);
        if (!more)
            stop = true;
        merged = i + 1;
        changed.notify_all();
    }
    {
        std::lock_guard lock(mutex);
        stop = true;
        changed.notify_all();
    }
    for (std::thread& t : pool)
        t.join();
}

} // namespace pa::datafile
