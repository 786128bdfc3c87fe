#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>
#include <vector>

// Walks over a graph that visit one transform from within the visit of another would need a stack
// as deep as the graph is long. Such a visit is a task: the outermost one runs on the spot, and
// what is asked for from within waits until the visit that asked for it has ended. The order is
// that of nested calls in which each visit ends with the visits that it asks for: depth first, in
// the order in which they were asked for.
//
// One list for each thread and each type of task. Tasks hold what they need.
template <class Task>
class QelGraphWork {
  public:
    // Runs `task`, and all that is asked for meanwhile, by task.run(); or, from within one, leaves
    // it for later. Raises what the first failing task raises; what has not begun then is dropped.
    static void run(Task task) {
        QelGraphWork & mine = ofThisThread();
        if (mine.active_) return mine.ask(std::move(task));
        Active const active(mine);
        mine.ask(std::move(task));
        mine.drain();
    }

    // Is a task running on this thread?
    static bool isActive() { return ofThisThread().active_; }

  private:
    // Leaves the lists empty, whatever happens.
    class Active {
      public:
        explicit Active(QelGraphWork & work) : work_(work) { work_.active_ = true; }
        Active(Active const &) = delete;
        Active & operator=(Active const &) = delete;
        ~Active() {
            // Ends of tasks may ask for more.
            std::vector<Task> const asked = std::exchange(work_.asked_, {});
            std::vector<Task> const waiting = std::exchange(work_.waiting_, {});
            work_.active_ = false;
        }

      private:
        QelGraphWork & work_;
    };

    static QelGraphWork & ofThisThread() {
        thread_local QelGraphWork work;
        return work;
    }

    // With room in both lists: nothing else takes memory, so that whoever asks is told, and alone.
    void ask(Task && task) {
        reserve(asked_, asked_.size() + 1);
        reserve(waiting_, waiting_.size() + asked_.size() + 1);
        asked_.push_back(std::move(task));
    }

    static void reserve(std::vector<Task> & list, std::size_t size) {
        if (size > list.capacity()) list.reserve(std::max(size, 2 * list.capacity()));
    }

    void drain() {
        takeAsked();
        while (!waiting_.empty()) {
            Task task = std::move(waiting_.back());
            waiting_.pop_back();
            task.run();
            takeAsked();
        }
    }

    // The first one asked for comes last in the list, to be taken next.
    void takeAsked() {
        waiting_.insert(waiting_.end(), std::make_move_iterator(asked_.rbegin()),
                        std::make_move_iterator(asked_.rend()));
        asked_.clear();
    }

    bool active_ = false;
    std::vector<Task> asked_;
    std::vector<Task> waiting_;
};
