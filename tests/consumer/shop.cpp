// A model class that is declared in package.toml.
#include "shop/Article.h"

#include "tavo/model/Model.h"

#include <iostream>

int main() { std::cout << shop::Article::create(tavo::Model::create()).price() << '\n'; }
