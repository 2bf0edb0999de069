// An instance whose worker thread cannot be started.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "fake_extension.h"
#include "loaded_probe.h"
#include "worker_probe.h"

namespace {

using ::testing::IsEmpty;

class AnInstanceWithoutAWorker : public ::testing::Test {
  protected:
    AnInstanceWithoutAWorker()
        : m_module("libworker_probe.so", "workerFailure", m_fake.table(), {}) {}

    void setFailure(WorkerFailure failure) {
        *static_cast<WorkerFailure*>(const_cast<void*>(m_module.exported())) = failure;
    }

    void expectNothingLeft() {
        EXPECT_THAT(m_module.host().liveResources(), IsEmpty());
        EXPECT_THAT(m_module.host().moduleHeldVars(), IsEmpty());
        m_module.host().unload();
        EXPECT_THAT(m_module.host().problems(), IsEmpty());
        EXPECT_THAT(m_module.host().resourceProblems(), IsEmpty());
    }

    FakeExtension m_fake;
    LoadedModule m_module;
};

TEST_F(AnInstanceWithoutAWorker, KeepsNothingWhenItCannotBeMade) {
    setFailure(WorkerFailure::Throws);
    EXPECT_THROW(m_module.host().embed(), std::runtime_error);
    expectNothingLeft();
}

TEST_F(AnInstanceWithoutAWorker, LivesWithoutMessagesAndKeepsNothingAfterwards) {
    setFailure(WorkerFailure::Reports);
    const PP_Instance instance = m_module.host().embed();
    m_module.host().runOnMain([] {});  // the main thread is done with its view
    ASSERT_EQ(m_module.host().liveResources().size(), 1U) << "the loop of the worker";
    EXPECT_TRUE(m_module.host().destroy(instance));
    expectNothingLeft();
}

}  // namespace
