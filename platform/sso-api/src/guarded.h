#ifndef SSO_API_GUARDED_H_
#define SSO_API_GUARDED_H_

namespace sso_api {

/// Runs `work` and gives its result; `failure` when it throws, since nothing may throw through C.
template <typename Work>
int guarded(int failure, Work work) noexcept {
    try {
        return work();
    } catch (...) {
        return failure;
    }
}

}  // namespace sso_api

#endif
