// A tree to copy and a folder to copy it to.
#pragma once

#include "tests/Cocoa2CarbonLib/CopyCall.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

#include <functional>
#include <unistd.h>

class CopyFixture : public testing::Test {
protected:
    OSStatus copy(const std::filesystem::path& source, std::string* printed = nullptr)
    {
        CopyCall call;
        call.source = source;
        call.destDir = m_dest;
        return call.run(printed);
    }

    OSStatus replace(const std::filesystem::path& source, const std::filesystem::path& destDir)
    {
        CopyCall call;
        call.source = source;
        call.destDir = destDir;
        call.dupeAction = kDupeActionReplace;
        return call.run();
    }

    /// Copies the tree and expects that the copy is like it in every part.
    void expectCopies()
    {
        const auto before = describeTree(m_tree);
        EXPECT_EQ(copy(m_tree), 0);
        EXPECT_EQ(describeTree(m_dest / "tree"), before);
        EXPECT_EQ(describeTree(m_tree), before) << "the source stays as it was";
    }

    /// Runs the body as an ordinary user who owns the scratch folder.
    int runAsOwner(const std::function<int()>& body)
    {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(m_temp.path()))
            EXPECT_EQ(::lchown(entry.path().c_str(), child::kNobody, child::kNobody), 0);
        EXPECT_EQ(::chown(m_temp.path().c_str(), child::kNobody, child::kNobody), 0);
        return child::runAsNobody(body);
    }

    ScopedTempDir m_temp;
    const std::filesystem::path m_tree = m_temp.makeFolder("tree");
    const std::filesystem::path m_dest = m_temp.makeFolder("dest");
};
