#pragma once

namespace ostrana::python {

// A float as the double of its shortest decimal form: 0.7f gives 0.7, not 0.699999988079071.
// The double converts back to the same float, so a value read from a node and written again
// is stored unchanged, and it prints and compares the way people wrote it.
class ShortestFloat {
  public:
    static double toDouble(float value);
};

}  // namespace ostrana::python
