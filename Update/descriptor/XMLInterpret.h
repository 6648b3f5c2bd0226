// The interpreter of one descriptor: loads it, follows what it points at, and holds the files that are left
// to update.
#pragma once

#include "Platform/Carbon/FSRef.h"
#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/Lumen/LumFile.h"
#include "Update/descriptor/Dependencies.h"
#include "Update/descriptor/Files.h"
#include "Update/descriptor/General.h"
#include "Update/descriptor/Sections.h"

#include <optional>

class CPListParse;

/// How many descriptors may point at each other on one chain; a deeper one gathers nothing.
inline constexpr int kMaxChainLevels = 100;
/// How much may be interpreted below one product, so that bundles that point at each other in many ways
/// cannot keep a check busy for ever; what comes after that gathers nothing.
inline constexpr SInt64 kMaxFollowedBytes = SInt64 {64} << 20;
/// What following a bundle counts for, beside its descriptor's own size.
inline constexpr SInt64 kFollowedBundleBytes = 32768;
/// How many files an interpreter may hold and still take over more.
inline constexpr std::size_t kMaxGatheredFiles = 1'000'000;

class CXMLInterpret {
public:
    /// Reads and parses the descriptor at `file`, which stays the caller's; null, or a file that cannot be
    /// read or parsed, leaves an interpreter whose ParseFile fails.
    explicit CXMLInterpret(OpacLumFSRef* file);
    ~CXMLInterpret();
    CXMLInterpret(const CXMLInterpret&) = delete;
    CXMLInterpret& operator=(const CXMLInterpret&) = delete;

    /// Interprets the whole descriptor for an installed product: its name, its version text, its bundle's
    /// path (may be null or empty) and the base of its downloads. True when at least one file is left to
    /// update.
    bool ParseFile(const UniChar* productName, const UniChar* productVersion, const UniChar* appPath,
        const UniChar* siteUrl);
    /// Names the work folder, deletes it with all it holds, and adds the fixed constants. False only when the
    /// folder cannot be made or its path does not fit.
    bool InitFixedConst(const UniChar* appPath);
    /// The path of a fixed folder in the user's caches folder (selector 0: the work folder, otherwise the
    /// descriptors'), or of its `subFolder`, made when missing; empty on any failure, a symbolic link in its
    /// place included.
    static CLumStringW CreateFixedDir(const UniChar* subFolder, SInt32 selector);
    /// Makes sure that the work folder exists.
    bool RealCreateDir();
    /// Deletes the work folder with everything in it; false when there was none or that failed.
    bool ClearAllFileInFixedDir();

    /// 1 when a file named `name` is newer than `versionText`, otherwise how the last one compared is (0
    /// equal, -1 older); -1 when there is none, or an argument is null. With `stopAtFirst` an equal one ends
    /// the walk too.
    int CompNameAndVersion(const UniChar* name, const UniChar* versionText, int stopAtFirst) const;
    /// Follows every section; one that cannot be followed is left out.
    void CalcSectionUpdate();
    /// Follows every dependency. False, which rejects the descriptor, when one is not installed or its
    /// descriptor cannot be fetched; a descriptor that is not on the server is accepted.
    bool CaclDependencyUpdate();
    /// Interprets another bundle's descriptor and takes over its files when it offers at least the four parts
    /// at `requiredVersion`. 0, also for a bundle that is already being interpreted on this chain, or the
    /// descriptor download's error number.
    SInt32 DownloadAndGatherUpdate(CPListParse* plist, const SInt32* requiredVersion);

    /// Carries out the actions of the files that are left, once they are downloaded: first all archives are
    /// unpacked as one batch, then everything else is done in order. `plist` is handed on to each action.
    /// False at the first failure; what was done by then stays done. Waits with events: the interpreter must
    /// outlive the call.
    bool DoActionExceptDownload(CPListParse* plist);

    /// The files that are left to update, in order; owned by the interpreter.
    const std::vector<std::unique_ptr<CFileSec>>& filesToUpdate() const { return m_files.items(); }
    /// 1, or 0 when dependencies rejected the descriptor.
    SInt32 status() const { return m_status; }
    const CGeneral& general() const { return m_general; }
    const CConstants& constants() const { return m_constants; }
    /// The update work folder's path, or empty.
    const CLumStringW& tempDir() const { return m_tempDir; }

private:
    friend struct InterpreterAccess; ///< lets tests bring about what no flow does

    CFTreeRef findRoot() const;
    bool readSettings(CFTreeRef root);
    bool readDependencies(CFTreeRef root);
    bool readFiles(CFTreeRef root, const UniChar* siteUrl);
    bool readSections(CFTreeRef root);
    void releaseInstalled(const UniChar* productName, const UniChar* productVersion);

    bool findWorkFolder(FSRef& folder) const;

    bool unpackAll(CPListParse* plist);

    SInt32 followBundle(const FSRef& bundle, const Version& requiredVersion);
    bool mayFollow(const FSRef* bundle) const;
    CLumStringW bundlePathOf(const CPListParse& plist) const;
    void takeOverFiles(CXMLInterpret& child);
    bool isBelowCommonDescriptor() const;
    CXMLInterpret& topOfChain();

    CLumStringW m_tempDir;
    CLumStringW m_tempSubFolder; ///< where in the work folder everything goes; a child has its parent's
    SInt32 m_gathered = 0;
    SInt32 m_status = 1;
    CConstants m_constants;
    CGeneral m_general;
    CFiles m_files;
    CSects m_sects;
    CDependencies m_dependencies;
    CFRef<CFXMLTreeRef> m_xmlTree;
    CXMLInterpret* m_parent = nullptr; ///< borrowed; the interpreter whose descriptor pointed at this one
    std::optional<FSRef> m_bundle;     ///< the bundle that is being interpreted, when it has a folder
    SInt64 m_descriptorBytes = 0;
    SInt64 m_followedBytes = 0; ///< kept by the chain's top for all that is below it
};
