#pragma once

#include "platform/instance_lock.h"

namespace vlmr::test {

/// Answers as the test says and counts the questions.
class FakeInstanceLock : public platform::InstanceLock {
 public:
  bool PreviousInstance() override {
    ++asked;
    return previous_instance;
  }

  bool previous_instance = false;
  int asked = 0;
};

}  // namespace vlmr::test
