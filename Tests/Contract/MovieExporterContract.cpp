#include "Contract/MovieExporterContract.hpp"

#include <gmock/gmock.h>

#include <thread>

namespace brindle::test {

using Status = ExportSession::Status;

std::shared_ptr<ExportSession> MovieExporterContract::begin(
    const std::filesystem::path& source, const std::filesystem::path& output) {
    auto session = subject_->exporter().makePassthroughExport(source, MovieOrigin::found);
    session->setOutput(output, MovieFileType::mpeg4);
    session->exportAsynchronously([this, mainThread = std::this_thread::get_id()] {
        isElsewhere_ |= std::this_thread::get_id() != mainThread;
        ++completions_;
    });
    return session;
}

std::optional<Seconds> MovieExporterContract::durationOf(const std::filesystem::path& movie) {
    std::optional<std::optional<Seconds>> answer;
    subject_->exporter().loadDuration(
        movie, [&, mainThread = std::this_thread::get_id()](auto duration) {
            isElsewhere_ |= std::this_thread::get_id() != mainThread;
            answer = duration;
        });
    EXPECT_FALSE(answer) << "from within";
    EXPECT_TRUE(becomes([&] { return answer.has_value(); }));
    return answer.value_or(std::nullopt);
}

TEST_P(MovieExporterContract, TellsOnceAndOnTheMainThreadThatTheMovieIsThere) {
    const auto source = subject_->movie();
    const auto output = subject_->writable();
    const auto session = begin(source, output);
    EXPECT_EQ(completions_, 0);
    EXPECT_EQ(session->damagedBytesLeftOut(), 0);
    bool isShare = true;
    ASSERT_TRUE(becomes([&] {
        isShare &= session->progress() >= 0 && session->progress() <= 1;
        return completions_ > 0;
    }));
    EXPECT_TRUE(isShare);
    EXPECT_EQ(session->status(), Status::completed);
    EXPECT_EQ(session->error(), std::nullopt);
    EXPECT_TRUE(subject_->isThere(output));
    EXPECT_TRUE(subject_->isThere(source));
    EXPECT_NEAR(durationOf(output).value_or(Seconds{0}).count(), subject_->duration().count(), 0.2);
    EXPECT_EQ(completions_, 1);
    EXPECT_FALSE(isElsewhere_);
}

TEST_P(MovieExporterContract, CanWriteMpeg4) {
    const auto session =
        subject_->exporter().makePassthroughExport(subject_->movie(), MovieOrigin::justRecorded);
    ASSERT_TRUE(session);
    EXPECT_THAT(session->supportedFileTypes(), testing::Contains(MovieFileType::mpeg4));
}

TEST_P(MovieExporterContract, HasNoSessionForWhatCannotBeExported) {
    EXPECT_EQ(
        subject_->exporter().makePassthroughExport(subject_->unexportable(), MovieOrigin::found),
        nullptr);
}

TEST_P(MovieExporterContract, AFailureSaysWhyAndLeavesTheSource) {
    const auto source = subject_->movie();
    const auto session = begin(source, subject_->unwritable());
    ASSERT_TRUE(becomes([this] { return completions_ > 0; }));
    EXPECT_EQ(session->status(), Status::failed);
    ASSERT_TRUE(session->error());
    EXPECT_NE(session->error()->description, "");
    EXPECT_TRUE(subject_->isThere(source));
    EXPECT_NEAR(durationOf(source).value_or(Seconds{0}).count(), subject_->duration().count(), 0.2);
    EXPECT_FALSE(isElsewhere_);
}

TEST_P(MovieExporterContract, EndsSoonWhenAnyThreadCancelsIt) {
    subject_->takeTime();
    const auto source = subject_->movie();
    const auto session = begin(source, subject_->writable());
    EXPECT_EQ(session->status(), Status::exporting);
    std::jthread{[&] {
        session->cancel();
    }}.join();
    ASSERT_TRUE(becomes([this] { return completions_ > 0; }));
    EXPECT_EQ(session->status(), Status::cancelled);
    EXPECT_TRUE(subject_->isThere(source));
    EXPECT_FALSE(isElsewhere_);
}

TEST_P(MovieExporterContract, ASessionThatIsGoneTellsNobody) {
    subject_->takeTime();
    begin(subject_->movie(), subject_->writable()).reset();
    begin(subject_->movie(), subject_->unwritable()).reset();
    subject_->proceed();
    // What is asked later is answered later.
    EXPECT_TRUE(durationOf(subject_->movie()));
    EXPECT_EQ(completions_, 0);
}

TEST_P(MovieExporterContract, ASessionThatGoesAtOnceTellsNobodyThatItHasEnded) {
    begin(subject_->movie(), subject_->writable()).reset();
    EXPECT_TRUE(durationOf(subject_->movie()));
    EXPECT_EQ(completions_, 0);
}

TEST_P(MovieExporterContract, MeasuresWhatCanBeRead) {
    EXPECT_NEAR(
        durationOf(subject_->movie()).value_or(Seconds{0}).count(), subject_->duration().count(),
        0.2);
    EXPECT_EQ(durationOf(subject_->unreadable()), std::nullopt);
    EXPECT_EQ(durationOf(subject_->unexportable()), std::nullopt);
    EXPECT_FALSE(isElsewhere_);
}

} // namespace brindle::test
