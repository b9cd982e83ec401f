// Brings a partly loaded index and its file together.
//
// A save that would have to write the whole file, and a deeper load of an index with changes that
// aren't saved, meet here: the file is read whole, this object's items take the places of their
// own elements, new ones go to the end, removed ones leave. Pointers to this object's items stay
// good.
#include <algorithm>
#include <memory>

#include "SERVICES/Library/LIBStoreIndexCore/SORTEDSTOREINDEXTYPE.h"

namespace corvane {

class IndexCompletion {
 public:
  IndexCompletion(SORTEDSTOREINDEXTYPE* index, SORTEDSTOREINDEXTYPE* whole)
      : index_(index), whole_(whole), held_(std::move(index->Sequence)) {}

  void Run() {
    RemoveFromWhole();
    PutOwnItemsInPlace();
    TakeOver();
    AddNewItems();
    index_->MarkFullRewrite();
  }

 private:
  void RemoveFromWhole() {
    std::vector<std::string> ids;
    for (const IndexItemPropertyContainer* item : index_->Removed) {
      ids.push_back(item->GetText(kPropertyID));
    }
    whole_->RemoveItems(ids);
  }

  // An item that was loaded by its keys alone has only what was set since then; the rest is the
  // file's.
  void PutOwnItemsInPlace() {
    for (IndexItemPropertyContainer*& own : held_) {
      IndexItemPropertyContainer* stored = whole_->ByID.Find(own->TextView(kPropertyID));
      if (stored == nullptr) continue;
      own->SetOwner(nullptr);
      if (WasReadByKeys(*own)) AddMissing(*stored, own);
      Replace(stored, own);
      own = nullptr;
    }
  }

  // One that this object made is whole, and has no place among the elements read.
  [[nodiscard]] bool WasReadByKeys(const IndexItemPropertyContainer& item) const {
    return index_->LoadState < kAllProperties && item.GetNumber(PropertyIDX()) != 0;
  }

  static void AddMissing(const IndexItemPropertyContainer& stored,
                         IndexItemPropertyContainer* own) {
    PropertyTexts texts;
    PropertyTexts set;
    stored.Export(&texts, nullptr);
    own->Export(&set, nullptr);
    for (const auto& [name, text] : texts) {
      const auto mine = set.find(name);
      // A number that reads 0 may just be below a slot that was set.
      if (mine == set.end() || mine->second == "0") own->SetText(name, text, false);
    }
  }

  void Replace(IndexItemPropertyContainer* stored, IndexItemPropertyContainer* own) {
    const std::uint32_t uid = stored->GetNumber(kPropertyUID);
    own->SetNumber(kPropertyUID, uid);
    whole_->ByUID[uid] = own;
    whole_->ByID.Erase(stored->TextView(kPropertyID));
    static_cast<void>(whole_->ByID.Insert(own));
    auto& sequence = whole_->Sequence;
    std::size_t position = stored->GetNumber(PropertySEQ()) - std::size_t{1};
    if (position >= sequence.size() || sequence[position] != stored) {
      position = static_cast<std::size_t>(std::find(sequence.begin(), sequence.end(), stored) -
                                          sequence.begin());
    }
    if (position < sequence.size()) sequence[position] = own;
    own->SetNumber(PropertySEQ(), static_cast<std::uint32_t>(position + 1));
    delete stored;
  }

  void TakeOver() {
    index_->ForgetRemoved();
    index_->Memory.TakeOver(&whole_->Memory);
    index_->Sequence.swap(whole_->Sequence);
    index_->ByUID.swap(whole_->ByUID);
    std::swap(index_->ByID, whole_->ByID);
    whole_->Sequence.clear();
    whole_->ByUID.clear();
    whole_->ByID.Clear();
    for (IndexItemPropertyContainer* item : index_->Sequence) item->SetOwner(index_);
    if (whole_->LastUID > index_->LastUID) index_->LastUID = whole_->LastUID;
    index_->LoadState = whole_->LoadState;
    index_->KeyFilter.clear();
    index_->FileInSync = whole_->FileInSync;
    index_->FileTime = whole_->FileTime;
    index_->FileSize = whole_->FileSize;
  }

  // Where another has taken the UID meanwhile, it gets the next one.
  void AddNewItems() {
    for (IndexItemPropertyContainer* item : held_) {
      if (item == nullptr) continue;
      item->SetOwner(nullptr);
      item->SetOffset(0);
      if (index_->ByUID.count(item->GetNumber(kPropertyUID)) != 0) {
        item->SetNumber(kPropertyUID, index_->NextUID());
      }
      if (!index_->InsertItem(item, true)) {
        delete item;
        continue;
      }
      index_->AppendToSequence(item);
      index_->NoteModifiedUID(item->GetNumber(kPropertyUID));
    }
  }

  SORTEDSTOREINDEXTYPE* index_;
  SORTEDSTOREINDEXTYPE* whole_;
  std::vector<IndexItemPropertyContainer*> held_;
};

bool SORTEDSTOREINDEXTYPE::CompleteFromFile(const std::string& path, std::int32_t messageClass) {
  SORTEDSTOREINDEXTYPE whole(files_);
  whole.LoadState = files_->Read(
      &whole, {.path = path, .messageClass = messageClass, .keyFilter = {}, .quiet = true});
  // A file that has gone reads as an empty folder, in which this object's items would be all.
  if (whole.LoadState != kAllProperties || whole.FileTime == 0) return false;
  IndexCompletion(this, &whole).Run();
  return true;
}

}  // namespace corvane
