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
    work.nodeId = 6203948571029384751; // a double cannot represent it exactly

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
    Account account;
    account.id = fmt::format("{:04x}", 0x51a0 + number);
    account.displayName = fmt::format("Emil Lindqvist {}", number + 1);
    account.email = fmt::format("emil{}@norrsken.example", number + 1);
    account.name = account.email;
    account.hostLabel = fmt::format("emil{}-desktop", number + 1);
    account.network = "norrsken.quoxelin.example";
    account.userId = 4398046511200000 + static_cast<std::int64_t>(number);
    account.nodeId = 2305843009213693951 + static_cast<std::int64_t>(number) * 7919;
    return account;
}

} // namespace quoxelin::sim
