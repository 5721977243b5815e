#include "trevik/ClassRegistry.h"

#include <atomic>

namespace trevik {

namespace {

std::atomic<ClassRegistry*> g_pDefault{nullptr};

} // namespace

ClassContainer::~ClassContainer() {}

Referenced* ClassContainer::Create() {
    return nullptr;
}

ObjectKind::Enum ClassContainer::GetKind() const {
    return ObjectKind::Other;
}

ClassRegistry::ClassRegistry() {
    ClassRegistry* none = nullptr;
    g_pDefault.compare_exchange_strong(none, this);
}

ClassRegistry::~ClassRegistry() {
    ClassRegistry* self = this;
    g_pDefault.compare_exchange_strong(self, nullptr);
    for (ClassContainer* container : m_containers) {
        delete container;
    }
}

bool ClassRegistry::AddClassContainer(ClassContainer* container) {
    if (!container) {
        return false;
    }
    int const index = Find(container->m_nClassID);
    if (index >= 0) {
        ClassContainer*& place = m_containers[static_cast<unsigned int>(index)];
        if (place != container) {
            delete place;
            place = container;
        }
        return true;
    }
    if (!m_containers.Append(container)) {
        delete container;
        return false;
    }
    return true;
}

Referenced* ClassRegistry::Create(unsigned int classID) const {
    int const index = Find(classID);
    return index < 0 ? nullptr : m_containers[static_cast<unsigned int>(index)]->Create();
}

Referenced* ClassRegistry::Create(unsigned int classID, ObjectKind::Enum kind) const {
    int const index = Find(classID);
    return index < 0 || m_containers[static_cast<unsigned int>(index)]->GetKind() != kind ? nullptr
                                                                                          : Create(classID);
}

bool ClassRegistry::IsRegistered(unsigned int classID) const {
    return Find(classID) >= 0;
}

ClassRegistry* ClassRegistry::GetDefault() {
    return g_pDefault.load();
}

void ClassRegistry::SetDefault(ClassRegistry* registry) {
    g_pDefault.store(registry);
}

int ClassRegistry::Find(unsigned int classID) const {
    for (unsigned int i = 0; i < m_containers.GetCount(); ++i) {
        if (m_containers[i]->m_nClassID == classID) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

} // namespace trevik
