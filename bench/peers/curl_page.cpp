// Fetching a page as done by libcurl, into a file.
//
//     curl_page URL
#include <curl/curl.h>

#include "Work.h"

namespace {

struct Sink {
    ScratchFile file;
    Result result{.count = 1, .bytes = 0};
};

std::size_t take(char* data, std::size_t size, std::size_t count, void* sink) {
    auto& to = *static_cast<Sink*>(sink);
    to.file.write(data, size * count);
    to.result.bytes += static_cast<long long>(size * count);
    return size * count;
}

}  // namespace

int main(int argc, char** argv) {
    require(argc == 2, "usage: curl_page URL");
    CURL* const curl = curl_easy_init();
    Sink sink;
    curl_easy_setopt(curl, CURLOPT_URL, argv[1]);
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, take);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &sink);
    curl_easy_setopt(curl, CURLOPT_FAILONERROR, 1L);
    require(curl_easy_perform(curl) == CURLE_OK, argv[1]);
    curl_easy_cleanup(curl);
    return sink.result.print();
}
