// Puts items in the place of others, one by one, and can take all of it back.
#pragma once

#include <string>
#include <vector>

namespace vantorel::sealed {

class Swap {
 public:
  // Items go from the folder `from` to `to`. Those that were in their place end up in `from` or `aside`. All
  // three lie on one file system; the paths end in slashes.
  Swap(std::string from, std::string to, std::string aside);

  // Puts an item in its place, by an exchange of the two names where the system has one. Raises Refusal.
  void Place(const std::string& name);
  // Brings back what was there before, as far as that can be done.
  void TakeBack();

 private:
  enum class Way { kNothingWasThere, kExchanged, kMovedAside };
  struct Placed {
    std::string name;
    Way way;
  };

  std::string from_;
  std::string to_;
  std::string aside_;
  std::vector<Placed> placed_;
};

}  // namespace vantorel::sealed
