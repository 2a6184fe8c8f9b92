#pragma once

#include <memory>

namespace vlmr::transfer {

/// libcurl's handles, owned. Their types are no more than `void` to whoever includes this.
struct EasyHandleCloser {
  void operator()(void* handle) const;
};
struct MultiHandleCloser {
  void operator()(void* handle) const;
};
using EasyHandle = std::unique_ptr<void, EasyHandleCloser>;
using MultiHandle = std::unique_ptr<void, MultiHandleCloser>;

/// New handles. libcurl is made ready with the first one. Raises 7 when there is no memory.
EasyHandle MakeEasyHandle();
MultiHandle MakeMultiHandle();

}  // namespace vlmr::transfer
