// A peer to measure against: the toolkit's own receiving with one process an association and one fsync a
// file; no index, no import.
//
//   quorin-bare-receiver FOLDER      prints "listening on PORT" and runs until it is ended

#include <dcmtk/config/osconfig.h>

#include <dcmtk/dcmdata/dctk.h>
#include <dcmtk/dcmnet/assoc.h>
#include <dcmtk/dcmnet/dimse.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <string>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// Syncs the file as soon as it is whole; the response follows from the toolkit.
void onProgress(void *path,
                T_DIMSE_StoreProgress *progress,
                T_DIMSE_C_StoreRQ *,
                char *,
                DcmDataset **,
                T_DIMSE_C_StoreRSP *response,
                DcmDataset **)
{
    if (progress->state != DIMSE_StoreEnd) {
        return;
    }
    const int file = ::open(static_cast<const std::string *>(path)->c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0 || ::fsync(file) != 0) {
        response->DimseStatus = STATUS_STORE_Refused_OutOfResources;
    }
    if (file >= 0) {
        ::close(file);
    }
}

void storeAll(T_ASC_Association *association, const std::string &folder)
{
    for (int number = 0;; ++number) {
        T_ASC_PresentationContextID context = 0;
        T_DIMSE_Message message;
        const OFCondition got =
            DIMSE_receiveCommand(association, DIMSE_BLOCKING, 0, &context, &message, nullptr);
        if (got == DUL_PEERREQUESTEDRELEASE) {
            ASC_acknowledgeRelease(association);
        }
        if (got.bad() || message.CommandField != DIMSE_C_STORE_RQ) {
            return;
        }
        std::string path = folder + '/' + std::to_string(::getpid()) + '-' + std::to_string(number) + ".dcm";
        const OFCondition stored = DIMSE_storeProvider(association,
                                                       context,
                                                       &message.msg.CStoreRQ,
                                                       path.c_str(),
                                                       OFTrue,
                                                       nullptr,
                                                       onProgress,
                                                       &path,
                                                       DIMSE_BLOCKING,
                                                       0);
        if (stored.bad()) {
            return;
        }
    }
}

/// One association from its first byte to its last.
int serve(int peer, const std::string &folder)
{
    dcmExternalSocketHandle.set(peer);
    T_ASC_Network *network = nullptr;
    T_ASC_Association *association = nullptr;
    if (ASC_initializeNetwork(NET_ACCEPTOR, 0, 30, &network).bad() ||
        ASC_receiveAssociation(network, &association, ASC_MAXIMUMPDUSIZE).bad()) {
        return 1;
    }
    std::array<const char *, 2> syntaxes = {UID_LittleEndianExplicitTransferSyntax,
                                            UID_LittleEndianImplicitTransferSyntax};
    ASC_acceptContextsWithPreferredTransferSyntaxes(association->params,
                                                    dcmAllStorageSOPClassUIDs,
                                                    numberOfDcmAllStorageSOPClassUIDs,
                                                    syntaxes.data(),
                                                    static_cast<int>(syntaxes.size()));
    if (ASC_acknowledgeAssociation(association).bad()) {
        return 1;
    }
    storeAll(association, folder);
    return 0;
}

/// A socket that listens on a free port of the loopback.
int listenOnLoopback()
{
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    if (listener < 0 || ::bind(listener, reinterpret_cast<const sockaddr *>(&address), size) != 0 ||
        ::listen(listener, 64) != 0 ||
        ::getsockname(listener, reinterpret_cast<sockaddr *>(&address), &size) != 0) {
        std::perror("listen");
        return -1;
    }
    std::printf("listening on %d\n", ntohs(address.sin_port));
    std::fflush(stdout);
    return listener;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        std::fputs("usage: quorin-bare-receiver FOLDER\n", stderr);
        return 2;
    }
    std::signal(SIGCHLD, [](int) {
        while (::waitpid(-1, nullptr, WNOHANG) > 0) {
        }
    });
    const int listener = listenOnLoopback();
    if (listener < 0) {
        return 1;
    }
    for (;;) {
        const int peer = ::accept(listener, nullptr, nullptr);
        if (peer < 0) {
            continue;
        }
        if (::fork() == 0) {
            ::close(listener);
            ::_exit(serve(peer, argv[1]));
        }
        ::close(peer);
    }
}
