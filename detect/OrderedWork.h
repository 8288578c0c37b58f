#pragma once

#include "detect/Detection.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <map>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <vector>

namespace detect {

/// Lets `threads` workers make the products 0 .. count-1 and hands them over, in that order, in the calling
/// thread. Workers never run more than a few products ahead, so memory stays bounded.
///
///     makeWorker()     -> Result<Worker>, called once in each worker thread
///     worker(index)    -> Result<Product>, called in its thread
///     consume(product) -> Status, called in the calling thread
///
/// Returns the failure of the lowest index, or of `consume`; all workers have ended by then.
template<class Product, class MakeWorker, class Consume>
class OrderedWork {
public:
    OrderedWork(int count, int threads, const MakeWorker& makeWorker, const Consume& consume)
        : m_count(count), m_threads(std::clamp(threads, 1, std::max(1, count))), m_makeWorker(makeWorker),
          m_consume(consume) {}

    Status run() {
        const Workers workers(*this);
        return handOver();
    }

private:
    using Outcome = Result<Product>;

    /// Ended and joined with the object, also when an exception leaves the calling thread's part.
    class Workers {
    public:
        explicit Workers(OrderedWork& owner) : m_owner(owner) {
            m_threads.reserve(static_cast<std::size_t>(owner.m_threads));
            try {
                while (static_cast<int>(m_threads.size()) < owner.m_threads) {
                    m_threads.emplace_back([&owner] { owner.work(); });
                }
            } catch (const std::system_error&) { // the system gives no more threads; fewer do the same work
                if (m_threads.empty()) {
                    throw;
                }
            }
        }
        ~Workers() {
            m_owner.stop();
            for (std::thread& thread : m_threads) {
                thread.join();
            }
        }
        Workers(const Workers&) = delete;
        Workers& operator=(const Workers&) = delete;

    private:
        OrderedWork& m_owner;
        std::vector<std::thread> m_threads;
    };

    Status handOver() {
        for (int index = 0; index < m_count; ++index) {
            Outcome outcome = waitFor(index);
            if (!outcome) {
                return failed(outcome);
            }
            if (auto done = m_consume(std::move(*outcome)); !done) {
                return failed(done);
            }
        }
        return {};
    }

    Outcome waitFor(int index) {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return m_done.count(index) != 0; });
        auto node = m_done.extract(index);
        m_handedOver = index + 1;
        m_changed.notify_all();
        return std::move(node.mapped());
    }

    void work() {
        try {
            auto made = m_makeWorker();
            for (std::optional<int> index = take(); index; index = take()) {
                put(*index, made ? (*made)(*index) : Outcome(failed(made)));
            }
        } catch (const std::exception& error) {
            // Memory may run out; whoever waits for one of the remaining products must hear of it.
            const Unexpected failure(Failure{std::string("计算失败：") + error.what()});
            std::unique_lock lock(m_mutex);
            for (int index = m_handedOver; index < m_count; ++index) {
                m_done.try_emplace(index, failure);
            }
            m_changed.notify_all();
        }
    }

    std::optional<int> take() {
        std::unique_lock lock(m_mutex);
        m_changed.wait(
            lock, [&] { return m_stopped || m_next >= m_count || m_next < m_handedOver + 2 * m_threads; });
        if (m_stopped || m_next >= m_count) {
            return std::nullopt;
        }
        return m_next++;
    }

    void put(int index, Outcome&& outcome) {
        std::unique_lock lock(m_mutex);
        m_done.try_emplace(index, std::move(outcome));
        m_changed.notify_all();
    }

    void stop() {
        std::unique_lock lock(m_mutex);
        m_stopped = true;
        m_changed.notify_all();
    }

    const int m_count;
    const int m_threads;
    const MakeWorker& m_makeWorker;
    const Consume& m_consume;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::map<int, Outcome> m_done;
    int m_next = 0;
    int m_handedOver = 0;
    bool m_stopped = false;
};

template<class Product, class MakeWorker, class Consume>
Status workInOrder(int count, int threads, const MakeWorker& makeWorker, const Consume& consume) {
    return OrderedWork<Product, MakeWorker, Consume>(count, threads, makeWorker, consume).run();
}

} // namespace detect
