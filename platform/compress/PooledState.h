// An engine's working state. The one that was used last is kept for the next member, since the states are
// large and an archive has many small members. Each thread keeps its own.
#pragma once

#include <memory>
#include <utility>

namespace vantorel {

// `State` is default-constructible and has Reset(), which makes a used one as good as new.
template <typename State>
class PooledState {
 public:
  PooledState() : state_(std::move(Spare())) {
    if (state_ != nullptr) {
      state_->Reset();
    } else {
      state_ = std::make_unique<State>();
    }
  }
  ~PooledState() { Spare() = std::move(state_); }
  PooledState(const PooledState&) = delete;
  PooledState& operator=(const PooledState&) = delete;

  State* operator->() const { return state_.get(); }

 private:
  static std::unique_ptr<State>& Spare() {
    thread_local std::unique_ptr<State> spare;
    return spare;
  }

  std::unique_ptr<State> state_;
};

}  // namespace vantorel
