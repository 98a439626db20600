// melodrift-service: the local stand-in of the video service.

#include "service/Catalogue.h"
#include "service/CatalogueGenerator.h"
#include "service/HostileVideos.h"
#include "service/HttpServer.h"
#include "service/Options.h"
#include "service/ServiceRouter.h"

#include <QCoreApplication>

#include <csignal>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <iostream>
#include <pthread.h>

int main(int argc, char** argv)
{
    using namespace service;

    Options options;
    std::string complaint;
    try {
        options = Options::parse(std::vector<std::string>(argv + 1, argv + argc));
    } catch (const std::invalid_argument& e) {
        complaint = e.what();
    }
    if (options.help || !complaint.empty()) {
        // Only for the usage line's program name: a running service has none
        // (it would set the C locale from the environment).
        const QCoreApplication names(argc, argv);
        if (options.help) {
            std::cout << Options::usage();
            return 0;
        }
        std::cerr << "melodrift-service: " << complaint << "\n\n" << Options::usage();
        return 2;
    }
    if (options.dataDir.empty())
        options.dataDir = Options::defaultDataDir();

    // Every thread started from here on leaves these signals to sigwait below.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);

    try {
        CatalogueGenerator(options.dataDir, std::cerr).ensure();
        if (options.generateOnly)
            return 0;

        const Catalogue catalogue = [&] {
            Catalogue demo = Catalogue::load(options.dataDir);
            if (options.faults.hostileFile.empty())
                return demo;
            std::ifstream secret(options.faults.hostileFile, std::ios::binary);
            options.faults.secret.assign(std::istreambuf_iterator<char>(secret), std::istreambuf_iterator<char>());
            if (options.faults.secret.empty())
                throw std::runtime_error(options.faults.hostileFile.string() + ": no bytes to watch for");
            std::vector<Video> videos = demo.videos();
            const CatalogueGenerator generator(options.dataDir, std::cerr);
            for (Video& video : hostileVideos(std::filesystem::absolute(options.faults.hostileFile),
                                              generator.bombPicture(), generator.hostileSubtitles()))
                videos.push_back(std::move(video));
            return Catalogue(options.dataDir, std::move(videos));
        }();
        HttpServer server(options.port);
        if (options.keepAlive)
            server.keepConnections();
        const ServiceRouter router(catalogue, options.faults, server.base());
        server.start([&router](const HttpRequest& request) { return router.handle(request); });
        std::cerr << "melodrift-service: " << catalogue.videos().size() << " videos from " << options.dataDir.string()
                  << std::endl;
        std::cout << server.base() << std::endl;

        int received = 0;
        sigwait(&signals, &received);
        std::cerr << "melodrift-service: stopping" << std::endl;
        server.stop();
        return 0;
    } catch (const std::exception& e) {
        std::cerr << "melodrift-service: " << e.what() << std::endl;
        return 1;
    }
}
