#include "updates/appcast_source.h"

#include "cloud_client/http_transport.h"
#include "cloud_client/quorin_error.h"
#include "updates/package_file.h"
#include "updates/update_error.h"

#include <utility>

namespace gateway::updates {

namespace {

using cloud_client::AFError;
using cloud_client::HttpRequest;
using cloud_client::HttpResponse;
using cloud_client::HttpTransport;
using cloud_client::NoAnswer;

constexpr int kRangeNotSatisfiable = 416;

/// One request that ends soon after `stop` was requested.
HttpResponse
ask(const QUrl &url, cloud_client::CloudConfiguration reach, HttpRequest request, const std::stop_token &stop)
{
    reach.baseUrl = url;
    HttpTransport transport(reach);
    const std::stop_callback end(stop, [&transport] { transport.shutDown(); });
    request.url = url.toEncoded();
    try {
        return transport.perform(request);
    } catch (const AFError &error) {
        if (error.responseCode) {
            HttpResponse refusal;
            refusal.status = *error.responseCode;
            return refusal;
        }
        if (stop.stop_requested()) {
            throw UpdateError(UpdateFailure::ended, url.host());
        }
        switch (error.noAnswer) {
        case NoAnswer::notSecure:
            throw UpdateError(UpdateFailure::notSecure, url.host());
        case NoAnswer::unusableAnswer:
            throw UpdateError(UpdateFailure::noFeed, url.host());
        default:
            throw UpdateError(UpdateFailure::notReachable, url.host());
        }
    }
}

void throwUnlessSuccess(const HttpResponse &response, const QUrl &url)
{
    if (!response.isSuccess()) {
        throw UpdateError(UpdateFailure::refused, url.host());
    }
}

} // namespace

AppcastSource::AppcastSource(Place place, OwnBuild build)
    : m_place(std::move(place)), m_build(std::move(build))
{
}

std::optional<AppcastItem> AppcastSource::newerItem(std::stop_token stop)
{
    HttpRequest request;
    request.answerLimit = kLargestFeed;
    request.total = cloud_client::HttpLimits().call;
    const HttpResponse response = ask(m_place.feed, m_place.reach, request, stop);
    throwUnlessSuccess(response, m_place.feed);
    const auto items = parseAppcast(response.body);
    if (!items) {
        throw UpdateError(UpdateFailure::noFeed, m_place.feed.host());
    }
    return newestFor(m_build, *items, m_place.feed.host());
}

QString AppcastSource::fetch(const AppcastItem &item, const Progress &progress, std::stop_token stop)
{
    const platform::MutexLock lock(m_fetching);
    PackageFile file(m_place.folder, item);
    const auto request = [&](qint64 from) {
        HttpRequest wanted;
        wanted.headers = {{"Accept-Encoding", "identity"}};
        wanted.firstByte = from;
        wanted.answerLimit = kLargestPackage; // the file knows better
        wanted.sink = [&file, &progress](QByteArrayView bytes) {
            file.append(bytes);
            progress(file.size());
        };
        return ask(item.url, m_place.reach, wanted, stop);
    };
    progress(file.size());
    if (file.size() < item.length) {
        HttpResponse response = request(file.size());
        if (response.status == kRangeNotSatisfiable) {
            file.clear();
            response = request(0);
        }
        throwUnlessSuccess(response, item.url);
    }
    file.verify();
    return file.path();
}

} // namespace gateway::updates
