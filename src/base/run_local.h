// Run-local state.
//
// The interpreter keeps its state in plain global records, one or a few per room. A run can start while another is
// active (an embedding program, a registered function), and the nested run must begin with everything in its initial
// state and leave the outer run as it was. Each record that belongs to one run is therefore declared as
//
//     inline rx_run_local<rx_numeric_settings> rx_numeric;
//
// It is a direct global while its run is in force: `rx_numeric->digits` is one load. All run-locals of the process are
// linked in a list, and an rx_context, made when a nested run starts, moves every record away, puts a
// value-initialised one in its place, and moves the old ones back when it is destroyed. Nobody keeps a list by hand,
// so no room can forget to be saved. What outlives a run is an ordinary global and says so.
#pragma once

#include <memory>
#include <utility>
#include <vector>

/// The type-free face of a run-local record, linked into the process-wide list when it is constructed.
struct rx_run_local_base {
    rx_run_local_base *next;

    /// Moves the record away and leaves a fresh one; the result, given to `restore`, brings it back.
    virtual std::shared_ptr<void> save() = 0;
    virtual void restore(void *saved) = 0;

    rx_run_local_base(const rx_run_local_base &) = delete;
    rx_run_local_base &operator=(const rx_run_local_base &) = delete;

protected:
    rx_run_local_base();
    ~rx_run_local_base() = default;
};

/// `Seen` is T, or const T for a record that is changed through a function of its own only.
template <class T, class Seen = T> struct rx_run_local final : rx_run_local_base {
    T value{};

    Seen &operator*() { return value; }
    Seen *operator->() { return &value; }

    std::shared_ptr<void> save() override {
        auto saved = std::make_shared<T>(std::move(value));
        value = T{};
        return saved;
    }
    void restore(void *saved) override { value = std::move(*static_cast<T *>(saved)); }
};

/// The saved state of an outer run. Constructing one sets every run-local record to its initial state; destroying it
/// restores them. Contexts nest like the runs that they belong to.
struct rx_context {
    rx_context();
    ~rx_context();
    rx_context(const rx_context &) = delete;
    rx_context &operator=(const rx_context &) = delete;

private:
    std::vector<std::shared_ptr<void>> saved_;
};
