// The model's look-up tables (index.cpp), shared by the routines that build and edit a model.
#pragma once

#include <memory>
#include <string>

#include "model.h"

namespace rosehost {

// The tables, built again first when they are missing or the model's element counts differ
// from theirs. The associations part is left alone; see CurrentAssociations.
ModelIndex& CurrentIndex(const Model& model);
// The tables with the associations of every class filled in.
ModelIndex& CurrentAssociations(const Model& model);
// The class a reference names, through the tables: by qualified name first, then by quid.
std::shared_ptr<Class> IndexedClass(const Model& model, ModelIndex& index, const std::string& path,
                                    const std::string& quid);

// Each tells the tables about an element just added to the tree; tables that cannot take it
// in place are dropped and built again when next needed.
void NoteCategory(const Model& model);
void NoteClass(const Model& model, const std::shared_ptr<Class>& cls);
void NoteAssociation(const Model& model, const Category& owner,
                     const std::shared_ptr<Association>& association);
void NoteDiagram(const Model& model);
// An association was taken out of `owner`.
void NoteAssociationGone(const Model& model);

}  // namespace rosehost
