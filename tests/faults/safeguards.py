"""What keeps images safe, and how each is taken away: a text of a source, what stands there without it, and who must notice.

The text stands once in its file; where a safeguard has moved, its entry moves along. Who notices are unit tests, by target and
filter, or a script of this folder, by its case, which needs the programs.
"""

from dataclasses import dataclass


@dataclass(frozen=True)
class Safeguard:
    what: str
    file: str
    text: str
    without: str
    target: str
    notices: str = "*"

    @property
    def is_script(self):
        return self.target.endswith(".py")


SCP = "dicom_helper/scp"
INSTANCE = f"{SCP}/incoming_instance.cpp"
INBOX = f"{SCP}/inbox.cpp"
CLAIMS = f"{SCP}/space_claims.cpp"
FILES = "src/platform/files/files.cpp"
SYSTEM = "src/platform/files/file_system.cpp"
STORE = "src/index/file_store.cpp"
SIGHT = "src/index/file_store_sight.cpp"
IMPORT = "src/index/dicom_db_import.cpp"
UPLOADS = "src/index/dicom_db_uploads.cpp"
DELETION = "src/index/dicom_db_deletion.cpp"
BATCH = "src/cloud_client/stow_batch.cpp"
ANSWER = "src/cloud_client/stow_answer.cpp"
VERIFIER = "src/upload/instance_verifier.cpp"
CONVERTER = "dicom_helper/worker/converter.cpp"
CONFINEMENT = "dicom_helper/confinement/confinement.cpp"

ORDER = "order_test.py"

SAFEGUARDS = [
    # Receiving
    Safeguard("the inbox syncs files in earnest", INBOX, "return result(::fsync(file));", "return result(file < 0 ? -1 : 0);",
              ORDER, "receive"),
    Safeguard("the inbox syncs its folder in earnest", INBOX, "return result(::fsync(m_folder.get()));",
              "return m_folder.isOpen() ? 0 : -EBADF;", ORDER, "receive"),
    Safeguard("a received file is synced", INSTANCE, "result = m_disk.sync(*m_file);", "result = 0;", "dicom_scp_test",
              "IncomingInstance*"),
    Safeguard("the inbox's folder is synced before \"success\"", INSTANCE, "result = m_disk.syncInbox();", "result = 0;",
              "dicom_scp_test", "IncomingInstance*"),
    Safeguard("closing a received file is checked", INSTANCE,
              "result = m_disk.close(*std::exchange(m_file, std::nullopt));",
              "m_disk.close(*std::exchange(m_file, std::nullopt));", "dicom_scp_test", "IncomingInstance*"),
    Safeguard("the size of a received file is checked", INSTANCE, "size == m_written ? 0 : -EIO", "0", "dicom_scp_test",
              "IncomingInstance*"),
    Safeguard("a failed write refuses the object", INSTANCE, "fail(written == 0 ? -EIO : static_cast<int>(written));",
              "bytes.remove_prefix(bytes.size());\n            break;", "dicom_scp_test", "IncomingInstance*"),
    Safeguard("what can't be made durable loses its name again", INSTANCE, "m_disk.removePublished(m_finalName);", "",
              "dicom_scp_test", "IncomingInstance*"),
    Safeguard("a received file is opened exclusively", INBOX, "O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC",
              "O_WRONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC", "dicom_scp_test", "Inbox*"),
    Safeguard("an unfinished file that is being received isn't swept", INBOX,
              "isBeingWritten = ::flock(file.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;", "isBeingWritten = false;",
              "dicom_scp_test", "Inbox*"),
    Safeguard("an inbox that is away takes nothing in", INBOX,
              "    if (!isInPlace()) {\n        return -ESTALE;\n    }\n    constexpr int kFlags",
              "    constexpr int kFlags", "dicom_scp_test", "Inbox*"),
    Safeguard("the reserve of free space", CLAIMS, "available - m_reserve - others - claim", "available - 0 * m_reserve - others - claim",
              "dicom_scp_test", "SpaceClaim*"),
    Safeguard("the claims of other associations on free space", CLAIMS, "available - m_reserve - others - claim",
              "available - m_reserve - 0 * others - claim", "dicom_scp_test", "SpaceClaim*"),
    Safeguard("a data value stays within its PDU", f"{SCP}/pdu_parser.cpp",
              "m_pduLeft < kValueHeaderBytes || length < 2 || length - 2 > m_pduLeft - kValueHeaderBytes", "length < 2",
              "dicom_scp_test", "Association.*"),
    Safeguard("one address has its share alone where descriptors are few", f"{SCP}/listener.cpp",
              "m_settings.perAddress * mostAtOnce() / SpaceClaims::kSlots", "m_settings.perAddress", "dicom_scp_test", "Listener.*"),
    # Files
    Safeguard("new files are synced in earnest", SYSTEM, "        m_file.sync();\n        m_file.close();", "        m_file.close();",
              ORDER, "import"),
    Safeguard("folders are synced in earnest", SYSTEM, 'FileDescriptor::open(path, O_RDONLY | O_DIRECTORY, "open a folder").sync();',
              'FileDescriptor::open(path, O_RDONLY | O_DIRECTORY, "open a folder");', ORDER, "receive"),
    Safeguard("a new file replaces none", SYSTEM, 'O_WRONLY | O_CREAT | O_EXCL, "make a file"',
              'O_WRONLY | O_CREAT, "make a file"', "platform_files_test", "SystemFiles*"),
    Safeguard("a rename to a new name replaces none", SYSTEM, "destination.constData(), RENAME_NOREPLACE",
              "destination.constData(), 0", "platform_files_test"),
    Safeguard("a durable write syncs its folder", FILES,
              "        throw;\n    }\n    files.syncFolder(folderOf(path));\n}\n\nbool isPartOf", "        throw;\n    }\n}\n\nbool isPartOf",
              "platform_files_test"),
    Safeguard("the names of a new folder's parent are synced", FILES, "    files.syncFolder(parent);\n", "", "platform_files_test"),
    Safeguard("a rename syncs the folder that the file left", FILES, "files.syncFolder(folderOf(from));", "", "platform_files_test"),
    Safeguard("a rename syncs the folder that the file came to", FILES, "    files.rename(from, to);\n    files.syncFolder(folderOf(to));\n",
              "    files.rename(from, to);\n", "platform_files_test"),
    Safeguard("a copy's folder is synced", FILES, "        files.syncFolder(folderOf(destination));\n", "", "platform_files_test"),
    Safeguard("a linked file is synced", FILES, "        if (linked) {\n            files.syncFile(destination);\n        }\n", "",
              "platform_files_test"),
    Safeguard("the lock of a home", "src/platform/files/home_lock.cpp", "if (!lockFile(file, LOCK_EX)) {",
              "if (false && !lockFile(file, LOCK_EX)) {", "platform_files_test", "HomeLock*"),
    # Index and store
    Safeguard("a stored file's folder is synced before its rows", STORE,
              "m_files.syncFolder(QFileInfo(file.path).path());\n}\n\nvoid FileStore::discard",
              "static_cast<void>(file);\n}\n\nvoid FileStore::discard", "index_test", "Import*"),
    Safeguard("the lock of a store", SIGHT, "return m_lock.has_value();", "return true;", "index_test", "StoreRoot*"),
    Safeguard("the running number passes all files", STORE, "m_nextNumber = std::max(m_nextNumber, numberBehindAllFiles());\n    m_wasUsed",
              "m_wasUsed", "index_test", "RunningNumber*"),
    Safeguard("no file is removed that a row refers to", STORE, "outcome = isInUse() ? Removal::kept : remove(",
              "isInUse();\n            outcome = remove(", "index_test", "Prune*:Removals*:Deletion*:Of/*:Import*"),
    Safeguard("a redelivered file keeps its name", IMPORT, "source == ImportSource::ownInbox ? m_files.takeUpName(path) : std::nullopt",
              "(false && source == ImportSource::ownInbox) ? m_files.takeUpName(path) : std::nullopt", "index_test", "Import*"),
    Safeguard("waiting out storage that is in trouble", "src/index/storage_retry.cpp", "return m_clock.sleep(duration, m_stop);",
              "static_cast<void>(m_clock);\n    return m_stop.stop_requested();", "index_test", "StorageRetry*:ImportFailures*"),
    Safeguard("trouble of a disk isn't the file's fault", IMPORT,
              "    case platform::ParsedFile::Fate::trouble:\n        refuse(Blame::reading);",
              "    case platform::ParsedFile::Fate::trouble:\n        refuse(Blame::file);", "index_test", "Import*"),
    Safeguard("commits are synced", "src/platform/sqlite/database.cpp", 'exec(doesSync ? "PRAGMA synchronous = FULL"',
              'exec(doesSync ? "PRAGMA synchronous = NORMAL"', "index_test", "IndexStoreAndPowerCut*"),
    Safeguard("commits are synced in earnest", "src/platform/sqlite/database.cpp",
              "    exec(\"PRAGMA journal_mode = WAL\");\n    syncCommits(true);", "    exec(\"PRAGMA journal_mode = WAL; PRAGMA synchronous = OFF\");\n    m_syncsCommits = true;",
              ORDER, "receive"),
    Safeguard("a result that lets a file go is synced before", UPLOADS,
              "mustLast ? IndexStore::Durability::now : IndexStore::Durability::withTheNext", "(mustLast && false) ? IndexStore::Durability::now : IndexStore::Durability::withTheNext",
              "index_test", "*Upload*:*PowerCut*:StoredCopies*"),
    Safeguard("a file whose removal failed stays noted", DELETION,
              "            break; // stays noted", "            gone.append(path);\n            break;", "index_test",
              "Removals*:Prune*:Delet*:Of/*"),
    Safeguard("a removed file can't come back unnoted", DELETION,
              "forgetRemovals(m_files.makeRemovalsDurable(gone) ? kept + gone : kept);", "forgetRemovals(kept + gone);", "index_test",
              "Removals*"),
    Safeguard("what was moved in without rows is let go of later", IMPORT, "    m_unsaved.insert(stored.pathString, stored.store);\n",
              "    static_cast<void>(stored);\n", "index_test", "ImportFailures*"),
    Safeguard("a received file stays in the inbox while the store is in trouble", "src/receive/incoming_importer.cpp",
              "return error.blame() == Blame::reading ? Fate::trouble : Fate::noStorage;",
              "return error.blame() == Blame::reading ? Fate::trouble : Fate::refused;", "receive_test", "Importer*"),
    Safeguard("a received file that can't be taken in is set aside", "src/receive/incoming_importer.cpp",
              "fate == Fate::imported ? removeFromInbox(item.path) : setAside(item.path)", "removeFromInbox(item.path)",
              "receive_test", "Importer*"),
    Safeguard("a later version's place isn't taken by an earlier one", "src/index/stored_copies.cpp",
              "return std::tuple(file.acknowledged, file.number) >\n           std::tuple(copy.acknowledged, numberOf(copy.pathString));",
              "return std::tuple(file.acknowledged, file.number) !=\n           std::tuple(copy.acknowledged, numberOf(copy.pathString));",
              "index_test", "StoredCopies.*"),
    Safeguard("a new version is to be sent again", "src/index/import_recorder.cpp",
              "syncState = CASE WHEN trim(pathString, ?21) IS excluded.pathString THEN syncState ELSE 0 END",
              "syncState = syncState", "index_test", "Import*"),
    Safeguard("an image stays whose copies aren't all sent", DELETION, '"OR SupersededFile.owed <> 0)) ";', '")) ";', "index_test", "Prune*:StoredCopies.*:Removals*"),
    Safeguard("an import reads a copy of its own", "src/receive/manual_import_batch.cpp", "    const bool isOurs = item.tree && ",
              "    const bool isOurs = item.tree || ", "receive_test", "ManualImport*:ImportBatch*"),
    # Sending
    Safeguard("a store out of sight isn't a queue without images", UPLOADS, "return std::nullopt; // nothing is known of the files",
              "return candidates; // nothing is known of the files", "index_test", "MountPoint*:SwappedStore*"),
    Safeguard("proof for each instance", BATCH, "if (reference.names(file->identity)) {",
              "if (reference.names(file->identity) || true) {", "cloud_client_test", "Stow*"),
    Safeguard("proof of its study", ANSWER, 'return isIn(QStringLiteral("studies"), identity.study.value()) &&\n           ', "return ",
              "cloud_client_test", "Stow*"),
    Safeguard("proof of its series", ANSWER, ' &&\n           isIn(QStringLiteral("series"), identity.series.value())', "", "cloud_client_test",
              "Stow*"),
    Safeguard("a page of HTML proves nothing", BATCH, "        proveByQuery(files, mayStoreLater(response));\n",
              "        for (File *file : files) {\n            file->isProven = mayStoreLater(response) || response.isSuccess();\n"
              "        }\n",
              "cloud_client_test", "Stow*"),
    Safeguard("a query that fails proves nothing", BATCH,
              "    } catch (const QuorinError &error) {\n        // Whoever wasn't asked for",
              "    } catch (const QuorinError &error) {\n        for (File *file : files) {\n            file->isProven = true;\n        }\n"
              "        // Whoever wasn't asked for", "cloud_client_test", "Stow*"),
    Safeguard("a query that fails isn't the upload's failure", BATCH, "if (isOfTheSession(error)) {",
              "if (isOfTheSession(error) || true) {", "cloud_client_test", "Stow*"),
    Safeguard("named both ways is refused", BATCH, "                file->isProven = false;\n", "", "cloud_client_test", "Stow*"),
    Safeguard("an empty multipart answer isn't an image", "src/cloud_client/qrn_stow_api.cpp",
              "    if (end < 0) {\n        throwUnusable();\n    }\n", "", "cloud_client_test", "Retrieval*"),
    Safeguard("\"already stored\" is compared", VERIFIER, "if (isNew && !isInDoubt) {", "if (true || (isNew && !isInDoubt)) {",
              "upload_test", "InstanceVerifier*"),
    Safeguard("an unreadable comparison proves nothing", VERIFIER,
              "    case platform::Likeness::unknown:\n        break;",
              "    case platform::Likeness::unknown:\n        return {{.result = AttemptResult::success, .isVerified = true}, true};",
              "upload_test", "InstanceVerifier*"),
    Safeguard("the version that went out is noted before", VERIFIER, "    return m_collaborators.index\n        .noteSending({{.instance",
              "    return true || m_collaborators.index\n        .noteSending({{.instance", "upload_test", "InstanceVerifier*"),
    Safeguard("the pause of the gate grows", "src/upload/upload_gate.cpp", "(1 << std::min(m_runsInVain, kMostDoublings))",
              "(1 << std::min(0 * m_runsInVain, kMostDoublings))", "upload_test", "UploadGate*"),
    Safeguard("a stored file that changed isn't sent", "src/upload/candidate_preparer.cpp",
              "return candidate.contentVersion != 0 && file.version != 0", "return file.version < 0", "upload_test",
              "CandidatePreparerTest*"),
    Safeguard("a refused file waits longer each time", "src/upload/retry_pauses.cpp",
              "isForGood(end.failure.failureClass) ? std::span(kAfterRefusal) : std::span(kAfterTrouble)",
              "(false && isForGood(end.failure.failureClass)) ? std::span(kAfterRefusal) : std::span(kAfterTrouble)", "upload_test",
              "RetryPauses*"),
    Safeguard("retention doubts a clock that jumped", "src/upload/retention_clock.cpp",
              "return std::chrono::abs(shown - passed) > kLargestMove;",
              "return std::chrono::abs(shown - passed) < std::chrono::milliseconds(0);", "upload_test", "RetentionClock*"),
    Safeguard("the token follows no redirect", "src/cloud_client/http_transport.cpp", "CURLOPT_FOLLOWLOCATION, 0L",
              "CURLOPT_FOLLOWLOCATION, 1L", "cloud_client_test"),
    Safeguard("a trial's sample is noted before it is sent", "src/wizard/sample_removal.h",
              "return m_notes.add(sample.study, m_parts.clock.now().addDuration(kLatestArrival));",
              "return !sample.study.value().isEmpty();", "wizard_test", "SampleRemoval*:SetupTrial*"),
    Safeguard("a trial's sample stays noted while it may come yet", "src/wizard/sample_removal.cpp",
              "if (m_parts.clock.now() < m_notes.mayComeUntil(sample.study)) {",
              "if (false && m_parts.clock.now() < m_notes.mayComeUntil(sample.study)) {", "wizard_test", "SampleRemoval*"),
    Safeguard("what is noted of trials deletes nothing but samples", "src/wizard/sample_notes.cpp", "if (isSampleStudy(study)) {",
              "if (true || isSampleStudy(study)) {", "wizard_test", "SampleRemoval*"),
    # Conversion
    Safeguard("the attributes of a converted object are compared", CONVERTER, "if (!sameAttributes(output, m_path)) {",
              "if (false) {", "dicom_worker_test", "ConverterTest*"),
    Safeguard("a converted object has no surplus fragment", CONVERTER, "if (!fragments.atEnd()) {", "if (false) {",
              "dicom_worker_test", "ConverterTest*"),
    Safeguard("the structure is checked before a conversion", CONVERTER, "    checkStructure(m_path, header.encoding);\n",
              "    if (m_path.empty()) {\n        checkStructure(m_path, header.encoding);\n    }\n",
              "dicom_worker_test", "ConverterTest*"),
    # Confinement
    Safeguard("a worker's files are confined", CONFINEMENT, "const bool files = confineFiles(confinement);",
              "const bool files = true || confineFiles(confinement);", "dicom_confinement_test"),
    Safeguard("a worker's calls are confined", CONFINEMENT,
              "kArchitecture != 0 && ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0", "program.len != 0",
              "dicom_confinement_test"),
    Safeguard("a confined process changes no file by its name", CONFINEMENT, "SYS_truncate,", "", "dicom_confinement_test"),
    Safeguard("a confined process sends signals to itself alone", CONFINEMENT,
              "    allowOnlyWith(filter, SYS_tgkill, 0, static_cast<std::uint32_t>(::getpid()));\n", "", "dicom_confinement_test"),
    Safeguard("a confined process starts none", CONFINEMENT, "    refuseProcesses(filter);\n", "    static_cast<void>(&refuseProcesses);\n",
              "dicom_confinement_test"),
    Safeguard("sockets are kept from other programs", "src/cloud_client/http_transport.cpp", "    keepFromOtherPrograms();\n",
              "    static_cast<void>(&keepFromOtherPrograms);\n", "cloud_client_test", "QuorinApiClient*"),
    Safeguard("an archive's names are tamed", "dicom_helper/unpack/entry_path.cpp", 'part == "." || part == ".."', 'part == "."',
              "dicom_unpack_test"),
    Safeguard("an archive leaves the reserve of free space", "dicom_helper/unpack/output_folder.cpp",
              "volume.f_bavail * volume.f_frsize < m_reserve", "volume.f_bavail * volume.f_frsize < 0 * m_reserve", "dicom_unpack_test"),
]
