#include <host/scene/deep_stack.h>

#include <exception>
#include <system_error>
#include <utility>

namespace Marl::Host {

DeepThread::DeepThread(std::function<void()> given) : work(std::move(given))
{
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, std::size_t(64) << 20);
    const int failure = pthread_create(&thread, &attributes, run, this);
    pthread_attr_destroy(&attributes);
    if (failure != 0)
        throw std::system_error(failure, std::generic_category(), "no room for a deep stack");
}

DeepThread::~DeepThread()
{
    pthread_join(thread, nullptr);
}

void* DeepThread::run(void* self)
{
    static_cast<DeepThread*>(self)->work();
    return nullptr;
}

void runOnDeepStack(const std::function<void()>& work)
{
    std::exception_ptr thrown;
    {
        const DeepThread thread([&] {
            try {
                work();
            } catch (...) {
                thrown = std::current_exception();
            }
        });
    }
    if (thrown)
        std::rethrow_exception(thrown);
}

} // namespace Marl::Host
