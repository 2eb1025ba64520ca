#include <host/scene/deep_stack.h>

#include <exception>
#include <system_error>

#include <pthread.h>

namespace Marl::Host {

namespace {

struct Job {
    const std::function<void()>& work;
    std::exception_ptr thrown;
};

void* run(void* given)
{
    Job& job = *static_cast<Job*>(given);
    try {
        job.work();
    } catch (...) {
        job.thrown = std::current_exception();
    }
    return nullptr;
}

} // namespace

void runOnDeepStack(const std::function<void()>& work)
{
    Job job{work, nullptr};
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, std::size_t(64) << 20);
    pthread_t thread;
    const int failure = pthread_create(&thread, &attributes, run, &job);
    pthread_attr_destroy(&attributes);
    if (failure != 0)
        throw std::system_error(failure, std::generic_category(), "no room for a deep stack");
    pthread_join(thread, nullptr);
    if (job.thrown)
        std::rethrow_exception(job.thrown);
}

} // namespace Marl::Host
