#ifndef PPAPI_UTILITY_COMPLETION_CALLBACK_FACTORY_H_
#define PPAPI_UTILITY_COMPLETION_CALLBACK_FACTORY_H_

#include "ppapi/cpp/completion_callback.h"
#include "ppapi/cpp/logging.h"
#include "ppapi/utility/completion_callback_factory_thread_traits.h"

namespace pp {

/// Makes single-use callbacks to methods of an object that may die first: once the factory is gone
/// or has cancelled, its callbacks do nothing but free themselves. A callback that is never run
/// leaks.
///
/// Callbacks may be made on any thread with thread-safe traits, and have to be run on the thread
/// that destroys the factory.
template <typename T, typename ThreadTraits = ThreadSafeThreadTraits>
class CompletionCallbackFactory {
  public:
    /// @param object  not owned; must outlive the factory.
    explicit CompletionCallbackFactory(T* object = nullptr) : object_(object) { InitBackPointer(); }
    CompletionCallbackFactory(const CompletionCallbackFactory&) = delete;
    CompletionCallbackFactory& operator=(const CompletionCallbackFactory&) = delete;

    ~CompletionCallbackFactory() { ResetBackPointer(); }

    /// Callbacks made before become no-ops; later ones work again.
    void CancelAll() {
        typename ThreadTraits::AutoLock lock(lock_);
        ResetBackPointer();
        InitBackPointer();
    }

    T* GetObject() { return object_; }

    /// @param method  `void (T::*)(int32_t result)`.
    template <typename Method>
    CompletionCallback NewCallback(Method method) {
        typename ThreadTraits::AutoLock lock(lock_);
        PP_DCHECK(object_ != nullptr);
        return CompletionCallback(&CallbackData<Method>::Run,
                                  new CallbackData<Method>(back_pointer_, method));
    }

  private:
    /// Shared by the factory and its pending callbacks; tells them whether the factory lives.
    class BackPointer {
      public:
        explicit BackPointer(CompletionCallbackFactory* factory) : factory_(factory) {}

        void AddRef() { ref_.AddRef(); }
        void Release() {
            if (ref_.Release() == 0) {
                delete this;
            }
        }
        void DropFactory() { factory_ = nullptr; }
        T* GetObject() { return factory_ != nullptr ? factory_->GetObject() : nullptr; }

      private:
        typename ThreadTraits::RefCount ref_;
        CompletionCallbackFactory* factory_;
    };

    template <typename Method>
    class CallbackData {
      public:
        CallbackData(BackPointer* back_pointer, Method method)
            : back_pointer_(back_pointer), method_(method) {
            back_pointer_->AddRef();
        }
        CallbackData(const CallbackData&) = delete;
        CallbackData& operator=(const CallbackData&) = delete;
        ~CallbackData() { back_pointer_->Release(); }

        static void Run(void* user_data, int32_t result) {
            auto* self = static_cast<CallbackData*>(user_data);
            if (T* object = self->back_pointer_->GetObject()) {
                (object->*(self->method_))(result);
            }
            delete self;
        }

      private:
        BackPointer* back_pointer_;
        Method method_;
    };

    void InitBackPointer() {
        back_pointer_ = new BackPointer(this);
        back_pointer_->AddRef();
    }

    void ResetBackPointer() {
        back_pointer_->DropFactory();
        back_pointer_->Release();
    }

    typename ThreadTraits::Lock lock_;
    T* object_;
    BackPointer* back_pointer_ = nullptr;
};

}  // namespace pp

#endif
