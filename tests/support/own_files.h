// Databases of this thread in the files of a test, also those that the component's own classes open.
#pragma once

#include <filesystem>
#include <memory>
#include <string_view>

#include "dao/database_settings.h"
#include "dao/engine.h"
#include "dao/jet_database.h"
#include "dao/system_engine.h"
#include "jet/session.h"

namespace qmtrain::test {

class OwnFiles {
public:
    explicit OwnFiles(FileSystem& files) { dao::Engine::Instance().Use(std::make_unique<Engine>(files)); }
    OwnFiles(const OwnFiles&) = delete;
    OwnFiles& operator=(const OwnFiles&) = delete;
    ~OwnFiles() { dao::Engine::Instance().Use(nullptr); }

private:
    // Our own engine in the place of the machine's.
    class Engine : public dao::SystemEngine {
    public:
        explicit Engine(FileSystem& files) : files_(files) {}

        std::shared_ptr<dao::Database> OpenDatabase(std::u16string_view name, const std::filesystem::path&,
                                                    bool read_only, std::u16string_view connect) override {
            return dao::JetDatabase::Open(
                name,
                {.read_only = read_only, .password = dao::PasswordIn(connect), .session = session_, .files = &files_});
        }
        void BeginTrans() override { session_->BeginTransaction(); }
        void CommitTrans() override { session_->CommitTransaction(); }
        void Rollback() override { session_->RollbackTransaction(); }

    private:
        FileSystem& files_;
        std::shared_ptr<jet::Session> session_ = std::make_shared<jet::Session>();
    };
};

}  // namespace qmtrain::test
