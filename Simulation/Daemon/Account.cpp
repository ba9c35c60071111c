#include "Simulation/Daemon/Account.h"

#include <fmt/format.h>

namespace quoxelin::sim {

std::vector<Account> firstAccounts() {
    Account work;
    work.id = "7c41";
    work.name = "mina@hoshizora.example";
    work.displayName = "Mina Aoki";
    work.email = "mina@hoshizora.example";
    work.hostLabel = "minas-laptop";
    work.network = "hoshizora.quoxelin.example";
    work.userId = 4398046511104017;
    work.nodeId = 6203948571029384751; // beyond what a double holds exactly, as real ids are

    Account group;
    group.id = "e09d";
    group.name =
        "株式会社みなとネットワークス 開発本部 基盤技術グループ（東京・大阪・福岡）共有アカウント";
    group.displayName = "佐藤 健太郎";
    group.email = "kentaro.sato@minato-networks.example";
    group.hostLabel = "sato-kaihatsu-03";
    group.network = "minato-networks.quoxelin.example";
    group.userId = 4398046511105290;
    group.nodeId = 1180239471625530472;

    return {work, group};
}

Account newAccount(std::size_t number) {
    struct Person {
        const char* given;
        const char* family;
        const char* network;
    };
    static constexpr Person people[] = {
        {"Emil", "Lindqvist", "norrsken"},
        {"Aigerim", "Saparova", "altai-labs"},
        {"Tomás", "Herrera", "puertomar"},
        {"Yui", "Nakamura", "asagao"},
    };
    const Person& person = people[number % std::size(people)];
    std::string login = fmt::format("user{}", number + 1);

    Account account;
    account.id = fmt::format("{:04x}", 0x51a0 + number);
    account.displayName = fmt::format("{} {}", person.given, person.family);
    account.email = fmt::format("{}@{}.example", login, person.network);
    account.name = account.email;
    account.hostLabel = login + "-desktop";
    account.network = fmt::format("{}.quoxelin.example", person.network);
    account.userId = 4398046511200000 + static_cast<std::int64_t>(number);
    account.nodeId = 2305843009213693951 + static_cast<std::int64_t>(number) * 7919;
    return account;
}

} // namespace quoxelin::sim
