#include "Runner/Models/HashiBus/ProfilesResponse.h"

#include "Base/JsonDecoder.h"

template quoxelin::Result<quoxelin::ProfilesResponse, quoxelin::json::Error>
    quoxelin::json::decode(std::string_view, std::size_t);
