// An engine's working state, taken from a small store of used ones and given back to it: the states are large
// and an archive has many small members. Each thread has a store of its own.
#pragma once

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace vantorel {

// `State` is default-constructible and has Reset(), which makes a used one as good as new.
template <typename State>
class PooledState {
 public:
  PooledState() {
    if (Store().empty()) {
      state_ = std::make_unique<State>();
    } else {
      state_ = std::move(Store().back());
      Store().pop_back();
      state_->Reset();
    }
  }
  ~PooledState() {
    if (Store().size() < kKept) Store().push_back(std::move(state_));
  }
  PooledState(const PooledState&) = delete;
  PooledState& operator=(const PooledState&) = delete;

  State* operator->() const { return state_.get(); }

 private:
  static constexpr std::size_t kKept = 2;

  static std::vector<std::unique_ptr<State>>& Store() {
    thread_local std::vector<std::unique_ptr<State>> store = [] {
      std::vector<std::unique_ptr<State>> empty;
      empty.reserve(kKept);  // so that giving back cannot fail
      return empty;
    }();
    return store;
  }

  std::unique_ptr<State> state_;
};

}  // namespace vantorel
