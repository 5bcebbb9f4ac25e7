// Jobs for many machines: written and joined by the studio, rendered by the command.
#include <gmock/gmock.h>

#include "studio_window.h"

namespace larkmoor {

namespace {

class JobsTest : public StudioWindowTest {
  protected:
    JobsTest() { window->exports().findChild<QTimer*>("look")->setInterval(1); }

    QTreeWidgetItem& lastRow() {
        const QTreeWidget& list = *window->findChild<ExportPanel*>()->list();
        return *list.topLevelItem(list.topLevelItemCount() - 1);
    }
    void awaitState(const char* state) {
        await([&] { return lastRow().text(1).startsWith(state); });
        EXPECT_THAT(lastRow().text(1).toStdString(), testing::StartsWith(state));
    }
};

TEST_F(JobsTest, AFolderIsWrittenWatchedAndJoined) {
    openGenerator(64, 48, 1);
    addByName("wave");
    ASSERT_TRUE(window->saveTo(file("p.larkmoor")));
    const auto write = [&] {
        ExportDialog dialog(document(), file("film.mkv"), window->exports(), window.get());
        dialog.encoders()->setCurrentText("ffv1");
        dialog.splitSwitch()->setChecked(true);
        dialog.chunkField()->setValue(10);
        EXPECT_EQ(dialog.folder(), file("film-job"));
        return exportBy(dialog);
    };
    EXPECT_EQ(write(), "");
    EXPECT_FALSE(std::filesystem::exists(path("film.mkv")));
    awaitState("0 of 3 chunks are done, 0 running, 0 failed");
    QPushButton& join = *window->findChild<ExportPanel*>()->joinButton();
    EXPECT_FALSE(join.isEnabled());
    ASSERT_EQ(larkmoor("work film-job").status, 0);
    awaitState("All chunks are done");
    EXPECT_TRUE(join.isEnabled());

    ExportQueue& queue = window->exports();
    EXPECT_EQ(queue.jobs()[0].farm->film, "film.mkv");
    QSignalSpy finished(&queue, &ExportQueue::finished);
    queue.add({.output = {.path = path("film.mkv")}, .work = ExportJob::Work::Join, .folder = path("film-job")});
    await([&] { return !finished.isEmpty(); });
    EXPECT_EQ(finished[0][0].value<ExportJob>().sentence, "");
    ASSERT_EQ(larkmoor("render p.larkmoor --codec ffv1 --chunk-frames 10 -o one.mkv").status, 0);
    EXPECT_GT(content("one.mkv").size(), 1000u);
    EXPECT_TRUE(content("film.mkv") == content("one.mkv"));

    EXPECT_THAT(write().toStdString(), testing::HasSubstr("holds a job already"));
    queue.clear();
    queue.cancelAll();
}

TEST_F(JobsTest, WhatFailedAndWhatIsNoJobIsTold) {
    clip("in.mkv", "-c:v ffv1 -pix_fmt yuv420p -g 1");
    ASSERT_EQ(larkmoor("split in.mkv --effect Sepia -o job --chunk-frames 10 --as film.mkv --codec ffv1").status, 0);
    write("job/failed/000001", R"({"host": "mill", "sentence": "the disk is full"})");
    write("job/claims/000002", "");
    window->exports().showFolder(path("job"));
    awaitState("0 of");
    EXPECT_THAT(lastRow().text(1).toStdString(), testing::HasSubstr("1 running, 1 failed"));
    EXPECT_THAT(lastRow().toolTip(1).toStdString(), testing::HasSubstr("Chunk 1 failed on mill: the disk is full"));
    std::filesystem::create_directory(path("none"));
    window->exports().showFolder(path("none"));
    await([&] { return lastRow().text(1).contains("job.json"); });
    EXPECT_THAT(lastRow().text(1).toStdString(), testing::HasSubstr("job.json"));
}

} // namespace

} // namespace larkmoor
