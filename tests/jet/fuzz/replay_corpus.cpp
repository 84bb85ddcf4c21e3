// Replays the fuzzing seed corpus (and any crash inputs saved beside it) through the fuzz target
// on every test run, so a finding once fixed stays fixed.
#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

TEST(FuzzCorpus, EveryInputIsAnsweredWithoutAFault) {
    const QDir corpus(QStringLiteral(TILLSIGHT_FUZZ_CORPUS));
    const QStringList files = corpus.entryList(QDir::Files);
    ASSERT_FALSE(files.isEmpty());
    for (const QString& name : files) {
        QFile f(corpus.filePath(name));
        ASSERT_TRUE(f.open(QIODevice::ReadOnly)) << name.toStdString();
        const QByteArray bytes = f.readAll();
        SCOPED_TRACE(name.toStdString());
        EXPECT_EQ(LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.constData()),
                                         static_cast<std::size_t>(bytes.size())),
                  0);
    }
}
