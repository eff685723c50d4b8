// Queries: the objects of a class that fulfil a term, found by going through the pools of that class alone.
//
//     tavo::Query query(model);
//     const Book::Constrainables book(query);
//     for (const Book& cheap : query.select<Book>(book.price().less(5) && book.p_Name().startsWith(u"D")))
//       ...
#pragma once

#include "tavo/meta/Datatype.h"
#include "tavo/meta/MetaRegistry.h"
#include "tavo/model/Model.h"

namespace tavo {

/// Which objects a query looks at.
enum class ClassMatch : std::uint8_t {
  exact,          ///< those of the class itself
  withSubclasses, ///< and those of every class that derives from it
};

/// A condition on one object. A condition on a feature does not hold for an object whose class has not that feature.
class TAVO_EXPORT Term {
public:
  using Predicate = std::function<bool(const ModelElement::Impl&)>;

  /// Holds for every object.
  Term() = default;
  explicit Term(Predicate predicate) : predicate_(std::move(predicate)) {}

  bool holds(const ModelElement::Impl& object) const { return !predicate_ || predicate_(object); }

  friend TAVO_EXPORT Term operator&&(Term a, Term b);
  friend TAVO_EXPORT Term operator||(Term a, Term b);
  friend TAVO_EXPORT Term operator!(Term term);

private:
  Predicate predicate_;
};

/// What the builders of terms on one feature share.
class TAVO_EXPORT FeatureTerms {
public:
  explicit FeatureTerms(const MetaProperty& property) : property_(&property) {}
  const MetaProperty& property() const { return *property_; }

protected:
  /// A term on the value at a pointer that is of the feature's datatype.
  Term onValue(std::function<bool(const void*)> predicate) const;
  Term onObject(Term::Predicate predicate) const;

  const MetaProperty* property_;
};

/// Terms on an attribute, stored or derived.
template <class T>
class ValueTerms : public FeatureTerms {
public:
  using FeatureTerms::FeatureTerms;

  Term equals(T value) const {
    return onValue([value = std::move(value)](const void* held) { return datatypeOf<T>().equal(held, &value); });
  }
  Term differs(T value) const { return !equals(std::move(value)); }
  Term less(T value) const {
    return onValue([value = std::move(value)](const void* held) { return datatypeOf<T>().compare(held, &value) < 0; });
  }
  Term greater(T value) const {
    return onValue([value = std::move(value)](const void* held) { return datatypeOf<T>().compare(held, &value) > 0; });
  }
};

/// Terms on a text.
class TAVO_EXPORT TextTerms : public ValueTerms<String> {
public:
  using ValueTerms::ValueTerms;
  Term startsWith(const String& start) const;
  Term contains(const String& part) const;
};

/// Terms on a feature that holds at most one object.
class TAVO_EXPORT ObjectTerms : public FeatureTerms {
public:
  using FeatureTerms::FeatureTerms;
  /// Also by an empty handle: then the feature has to be empty.
  Term is(const ModelElement& object) const;
  Term isEmpty() const;
};

/// Terms on a feature that holds any number of objects.
class TAVO_EXPORT CollectionTerms : public FeatureTerms {
public:
  using FeatureTerms::FeatureTerms;
  Term contains(const ModelElement& object) const;
  Term isEmpty() const;
};

/// The builder of terms for an attribute of type T.
template <class T>
struct AttributeTermsOf {
  using Type = ValueTerms<T>;
};
template <>
struct AttributeTermsOf<String> {
  using Type = TextTerms;
};
template <class T>
using AttributeTerms = typename AttributeTermsOf<T>::Type;

/// Asks one model. What it finds is in no particular order; stand-ins are not found.
class TAVO_EXPORT Query {
public:
  explicit Query(const Model& model) : model_(model) {}
  const Model& model() const { return model_; }

  template <class Facade>
  std::vector<Facade> select(ClassMatch match, const Term& term = {}) const {
    return select<Facade>(Facade::metaClass(), match, term);
  }
  template <class Facade>
  std::vector<Facade> select(const Term& term = {}) const {
    return select<Facade>(ClassMatch::withSubclasses, term);
  }
  /// The class and the match that the constrainables were made for.
  template <class Facade>
  std::vector<Facade> select(const typename Facade::Constrainables& of, const Term& term = {}) const {
    return select<Facade>(of.metaClass(), of.match(), term);
  }

  /// Calls `visit` until it answers false. It may create and destroy objects; whether it sees new ones is open.
  void forEach(const MetaClass& metaClass, ClassMatch match, const Term& term,
               const std::function<bool(ModelElement::Impl&)>& visit) const;

private:
  template <class Facade>
  std::vector<Facade> select(const MetaClass& metaClass, ClassMatch match, const Term& term) const {
    std::vector<Facade> found;
    forEach(metaClass, match, term, [&](ModelElement::Impl& object) {
      found.push_back(Facade(&object));
      return true;
    });
    return found;
  }

  Model model_;
};

/// The root of all generated constrainables, which have one accessor for each feature.
class TAVO_EXPORT ModelElement::Constrainables {
public:
  Constrainables(const Query& query, const MetaClass& metaClass, ClassMatch match)
      : query_(query), class_(&metaClass), match_(match) {}

  const Query& query() const { return query_; }
  const MetaClass& metaClass() const { return *class_; }
  ClassMatch match() const { return match_; }

protected:
  const MetaProperty& at(PropertyIndex index) const { return class_->at(index); }

private:
  Query query_;
  const MetaClass* class_;
  ClassMatch match_;
};

} // namespace tavo
